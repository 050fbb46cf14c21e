#include "Platform/UIKit/UIBarButtonItem.h"

#include "Platform/UIKit/KeepAlive.h"

#include <utility>

namespace kova {

namespace {

/// The user interface speaks Portuguese.
std::string titleOf(UIBarButtonSystemItem item)
{
    switch (item) {
    case UIBarButtonSystemItem::done:
        return "OK";
    case UIBarButtonSystemItem::trash:
        return "Apagar";
    }
    return {};
}

} // namespace

UIBarButtonItem::UIBarButtonItem(
    UIBarButtonSystemItem barButtonSystemItem, WeakLink<Linkable> target, std::function<void()> action)
    : UIBarButtonItem(titleOf(barButtonSystemItem), std::move(target), std::move(action))
{
    m_systemItem = barButtonSystemItem;
}

UIBarButtonItem::UIBarButtonItem(std::string title, WeakLink<Linkable> target, std::function<void()> action)
    : m_title(std::move(title))
    , m_target(std::move(target))
    , m_action(std::move(action))
{
}

std::shared_ptr<Linkable> UIBarButtonItem::value(std::string_view forKey) const
{
    return forKey == "view" && m_isShown ? m_view : nullptr;
}

void UIBarButtonItem::setView(std::shared_ptr<UIView> view)
{
    m_isShown = view != nullptr;
    if (view)
        m_view = std::move(view);
}

void UIBarButtonItem::sendAction()
{
    if (!m_target || !m_action)
        return;
    const auto screen = keepAlive(m_target.get());
    // The action may take the item itself away.
    const auto action = m_action;
    action();
}

std::shared_ptr<Linkable> UIBarButtonItem::associatedObject(const void* key) const
{
    const auto found = m_associatedObjects.find(key);
    return found == m_associatedObjects.end() ? nullptr : found->second;
}

void UIBarButtonItem::setAssociatedObject(const void* key, std::shared_ptr<Linkable> object)
{
    if (object)
        m_associatedObjects.insert_or_assign(key, std::move(object));
    else
        m_associatedObjects.erase(key);
}

} // namespace kova
