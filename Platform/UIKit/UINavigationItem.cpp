#include "Platform/UIKit/UINavigationItem.h"

#include <utility>

namespace kova {

void UINavigationItem::setTitle(std::optional<std::string> title)
{
    m_title = std::move(title);
    didChange();
}

void UINavigationItem::setLeftBarButtonItem(std::shared_ptr<UIBarButtonItem> item)
{
    m_leftBarButtonItem = std::move(item);
    didChange();
}

void UINavigationItem::setRightBarButtonItem(std::shared_ptr<UIBarButtonItem> item)
{
    m_rightBarButtonItem = std::move(item);
    didChange();
}

void UINavigationItem::didChange()
{
    if (m_observer)
        m_observer();
}

} // namespace kova
