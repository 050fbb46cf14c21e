// A button of a navigation bar, before and after the bar shows it.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIView.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace kova {

/// The platform's standard buttons that are used here.
enum class UIBarButtonSystemItem { done = 0, trash = 16 };

class KOVA_EXPORT UIBarButtonItem : public Linkable {
public:
    UIBarButtonItem(UIBarButtonSystemItem barButtonSystemItem, WeakLink<Linkable> target, std::function<void()> action);
    UIBarButtonItem(std::string title, WeakLink<Linkable> target, std::function<void()> action);

    [[nodiscard]] const std::optional<UIBarButtonSystemItem>& systemItem() const { return m_systemItem; }
    /// What is written on it: the item's own title, or the system item's in the language of the user interface.
    [[nodiscard]] const std::string& title() const { return m_title; }

    /// Key-value access; the one key is "view": the view that shows the item, null while no bar does.
    [[nodiscard]] std::shared_ptr<Linkable> value(std::string_view forKey) const;
    /// For the bar: what shows the item from now on, null when nothing does any more.
    void setView(std::shared_ptr<UIView> view);
    /// For the bar: what showed the item last, null before the first time. It is shown again, with all that others put
    /// on it.
    [[nodiscard]] const std::shared_ptr<UIView>& lastView() const { return m_view; }

    /// The user presses the button.
    void sendAction();

    /// Objects that others attach to the item, each under the address of a variable of its own; they live as long as
    /// the item, or until null is set.
    [[nodiscard]] std::shared_ptr<Linkable> associatedObject(const void* key) const;
    void setAssociatedObject(const void* key, std::shared_ptr<Linkable> object);

private:
    std::optional<UIBarButtonSystemItem> m_systemItem;
    std::string m_title;
    WeakLink<Linkable> m_target;
    std::function<void()> m_action;
    std::shared_ptr<UIView> m_view;
    bool m_isShown = false;
    std::map<const void*, std::shared_ptr<Linkable>> m_associatedObjects;
};

} // namespace kova
