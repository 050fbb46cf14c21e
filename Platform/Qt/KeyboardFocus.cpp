#include "Platform/Qt/KeyboardFocus_p.h"
#include "Platform/UIKit/UIControl.h"
#include "Platform/UIKit/UINavigationBar.h"
#include "Platform/UIKit/UITableView.h"
#include "Platform/UIKit/UIViewController.h"
#include "Platform/UIKit/UIWindow.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace kova {

namespace {

void collect(UIView& view, std::vector<UIView*>& found)
{
    if (view.isHidden() || view.alpha() <= 0)
        return;
    const auto* control = dynamic_cast<UIControl*>(&view);
    if (control || dynamic_cast<UITableView*>(&view)) {
        if (!control || control->isEnabled())
            found.push_back(&view);
        return;
    }
    // As it is read: from the top, and a bar first, though it lies in front of the rest.
    std::vector<std::tuple<bool, double, double, std::size_t>> order;
    for (const auto& child : view.subviews()) {
        const bool isBar = dynamic_cast<UINavigationBar*>(child.get()) != nullptr;
        order.emplace_back(!isBar, child->frame().minY(), child->frame().minX(), order.size());
    }
    std::ranges::sort(order);
    for (const auto& place : order)
        collect(*view.subviews()[std::get<std::size_t>(place)], found);
}

} // namespace

std::vector<UIView*> KeyboardFocus::candidates() const
{
    std::vector<UIView*> found;
    // What lies beneath the screen on top is out of reach; the host's own screen is the host's business.
    if (m_window.subviews().size() > 1)
        collect(*m_window.subviews().back(), found);
    return found;
}

void KeyboardFocus::follow()
{
    const auto found = candidates();
    if (std::ranges::find(found, m_target.get()) == found.end()) {
        m_isAway = m_isAway || (m_isVisible && m_list && m_target.get() == m_list.get());
        m_target = nullptr;
        m_isVisible = false;
    }
    auto* const list = m_list.get();
    if (m_isAway && list && std::ranges::find(found, list) != found.end()) {
        m_target = list;
        focusRow(*list, m_row);
    }
}

UIView* KeyboardFocus::view() const
{
    if (!m_isVisible)
        return nullptr;
    if (auto* table = dynamic_cast<UITableView*>(m_target.get()))
        return table->cellForRow({.row = m_row}).get();
    return m_target.get();
}

void KeyboardFocus::rowsMoved(const UITableView& table, std::int64_t from, std::int64_t by)
{
    if (m_list.get() == &table && m_row > from)
        m_row += by;
}

bool KeyboardFocus::press(int key)
{
    follow();
    auto* const table = dynamic_cast<UITableView*>(m_target.get());
    if (m_isVisible && table && pressInTable(*table, key))
        return true;
    switch (key) {
    case Qt::Key_Tab:
        step(1);
        return true;
    case Qt::Key_Backtab:
        step(-1);
        return true;
    case Qt::Key_Up:
    case Qt::Key_Down:
        // In a list the arrows mean its rows, wherever the focus is.
        for (auto* candidate : candidates()) {
            if (auto* list = dynamic_cast<UITableView*>(candidate)) {
                const auto visible = list->indexPathsForVisibleRows();
                const bool isAgain = m_list.get() == list;
                m_target = list;
                if (!visible.empty())
                    focusRow(*list, isAgain ? m_row : 0);
                return true;
            }
        }
        step(key == Qt::Key_Down ? 1 : -1);
        return true;
    case Qt::Key_Left:
        step(-1);
        return true;
    case Qt::Key_Right:
        step(1);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
    case Qt::Key_Select:
        if (auto* control = m_isVisible ? dynamic_cast<UIControl*>(m_target.get()) : nullptr) {
            control->sendActions(UIControlEvents::touchUpInside);
            return true;
        }
        return false;
    default:
        return false;
    }
}

bool KeyboardFocus::pressInTable(UITableView& table, int key)
{
    const auto visible = table.indexPathsForVisibleRows();
    const auto page = std::max<std::int64_t>(1, static_cast<std::int64_t>(visible.size()) - 2);
    switch (key) {
    case Qt::Key_Up:
        focusRow(table, m_row - 1);
        return true;
    case Qt::Key_Down:
        focusRow(table, m_row + 1);
        return true;
    case Qt::Key_PageUp:
        focusRow(table, m_row - page);
        return true;
    case Qt::Key_PageDown:
        focusRow(table, m_row + page);
        return true;
    case Qt::Key_Home:
        focusRow(table, 0);
        return true;
    case Qt::Key_End:
        focusRow(table, table.numberOfRows() - 1);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
    case Qt::Key_Select:
        table.userSelectsRow({.row = m_row});
        return true;
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        table.userDeletesRow({.row = m_row});
        focusRow(table, m_row);
        return true;
    default:
        return false;
    }
}

void KeyboardFocus::focusRow(UITableView& table, std::int64_t row)
{
    table.layoutIfNeeded();
    m_list = &table;
    m_isVisible = true;
    m_isAway = false;
    m_row = std::clamp<std::int64_t>(row, 0, std::max<std::int64_t>(0, table.numberOfRows() - 1));
    // Scrolled as far as needed to show the row whole.
    const auto rect = table.rectForRow({.row = m_row});
    const auto top = table.contentOffset().y + table.adjustedContentInset().top;
    const auto bottom = table.contentOffset().y + table.bounds().size.height - table.adjustedContentInset().bottom;
    auto offset = table.contentOffset();
    if (rect.minY() < top)
        offset.y -= top - rect.minY();
    else if (rect.maxY() > bottom)
        offset.y += rect.maxY() - bottom;
    table.setContentOffset(table.clampedOffset(offset));
    table.layoutIfNeeded();
}

void KeyboardFocus::step(int by)
{
    const auto found = candidates();
    if (found.empty())
        return;
    const auto count = static_cast<std::ptrdiff_t>(found.size());
    const auto at = std::ranges::find(found, m_target.get());
    const auto index = at == found.end() ? (by > 0 ? -1 : count) : at - found.begin();
    m_target = found[static_cast<std::size_t>(m_isVisible || at == found.end() ? (index + by + count) % count : index)];
    m_isVisible = true;
    if (auto* table = dynamic_cast<UITableView*>(m_target.get()))
        focusRow(*table, m_list.get() == table ? m_row : 0);
}

} // namespace kova
