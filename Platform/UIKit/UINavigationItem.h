// What a navigation bar shows for one screen.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIBarButtonItem.h"

#include <functional>

namespace kova {

class KOVA_EXPORT UINavigationItem : public Linkable {
public:
    [[nodiscard]] const std::optional<std::string>& title() const { return m_title; }
    void setTitle(std::optional<std::string> title);
    [[nodiscard]] const std::shared_ptr<UIBarButtonItem>& leftBarButtonItem() const { return m_leftBarButtonItem; }
    void setLeftBarButtonItem(std::shared_ptr<UIBarButtonItem> item);
    [[nodiscard]] const std::shared_ptr<UIBarButtonItem>& rightBarButtonItem() const { return m_rightBarButtonItem; }
    void setRightBarButtonItem(std::shared_ptr<UIBarButtonItem> item);

    /// For the bar that shows the item: called after each change.
    void setObserver(std::function<void()> observer) { m_observer = std::move(observer); }

private:
    void didChange();

    std::optional<std::string> m_title;
    std::shared_ptr<UIBarButtonItem> m_leftBarButtonItem;
    std::shared_ptr<UIBarButtonItem> m_rightBarButtonItem;
    std::function<void()> m_observer;
};

} // namespace kova
