// Where the keyboard's input goes on the screen on top: a button, or a row of a table.
//
// Nothing has the focus until a key asks for it; a touch hides it again. Who left a list from one of its rows is back
// at that row when the list is.

#pragma once

#include "Platform/UIKit/UIView.h"

#include <Qt>
#include <cstdint>
#include <vector>

namespace kova {

class UITableView;
class UIWindow;

class KeyboardFocus {
public:
    explicit KeyboardFocus(UIWindow& window)
        : m_window(window)
    {
    }

    /// False when the key means nothing here.
    bool press(int key);
    void hide() { m_isVisible = m_isAway = false; }
    /// Takes the focus off what is no longer on the screen on top, and back to the row that it left.
    void follow();
    /// The row after which rows came or went has another number.
    void rowsMoved(const UITableView& table, std::int64_t from, std::int64_t by);

    /// The view that has the focus: a control, or the cell of the row. Null for none, or when the row is not visible.
    [[nodiscard]] UIView* view() const;

private:
    [[nodiscard]] std::vector<UIView*> candidates() const;
    void step(int by);
    bool pressInTable(UITableView& table, int key);
    void focusRow(UITableView& table, std::int64_t row);

    UIWindow& m_window;
    WeakLink<UIView> m_target;
    /// The list that had the focus last, and its row.
    WeakLink<UITableView> m_list;
    std::int64_t m_row = 0;
    /// The focus was seen on a row whose list is no longer on top.
    bool m_isAway = false;
    bool m_isVisible = false;
};

} // namespace kova
