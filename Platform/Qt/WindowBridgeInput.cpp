// The half of the bridge that turns what the user does into calls of the model.

#include "Platform/Qt/ItemAnimation_p.h"
#include "Platform/Qt/WindowBridge_p.h"
#include "Platform/UIKit/SFSafariViewController.h"
#include "Platform/UIKit/UIAlertController.h"
#include "Platform/UIKit/UIControl.h"
#include "Platform/UIKit/UIImageView.h"
#include "Platform/UIKit/UILabel.h"
#include "Platform/UIKit/UINavigationController.h"

#include <algorithm>
#include <cmath>

namespace kova {

namespace {

/// A row that a cell shows now. Rows move between one frame and the next, so it is asked of the table for each use.
struct Row {
    UITableView& table;
    IndexPath path;
};

std::optional<Row> rowOf(const UITableViewCell* cell)
{
    auto* const table = cell ? dynamic_cast<UITableView*>(cell->superview()) : nullptr;
    const auto path = table ? table->indexPath(*cell) : std::nullopt;
    return path ? std::optional {Row {.table = *table, .path = *path}} : std::nullopt;
}

} // namespace

std::shared_ptr<ViewNode> WindowBridge::nodeOf(const ViewItem& item) const
{
    const auto found
        = std::ranges::find_if(m_nodes, [&](const auto& entry) { return entry.second->item.get() == &item; });
    return found == m_nodes.end() ? nullptr : found->second;
}

UIView* WindowBridge::viewOf(const ViewItem& item) const
{
    const auto node = nodeOf(item);
    return node ? node->view.get() : nullptr;
}

/// Returns true if another view is seen over a view at a point of the window, in its place or on its way there. Texts
/// and pictures let touches through.
bool WindowBridge::isCovered(const UIView& view, QPointF at) const
{
    for (const auto* beneath = &view; beneath->superview(); beneath = beneath->superview()) {
        const auto& siblings = beneath->superview()->subviews();
        auto above = std::ranges::find(siblings, beneath, &std::shared_ptr<UIView>::get);
        for (++above; above != siblings.end(); ++above) {
            const auto& other = **above;
            const auto node = nodeOf(other);
            const bool isThere = node && !other.isHidden() && other.alpha() > 0
                && node->item->contains(node->item->mapFromItem(m_root->item.get(), at));
            if (isThere && !dynamic_cast<const UILabel*>(&other) && !dynamic_cast<const UIImageView*>(&other))
                return true;
        }
    }
    return false;
}

void WindowBridge::itemTapped(ViewItem& item, std::optional<QPointF> at)
{
    auto* const view = viewOf(item);
    if (!view || (at && isCovered(*view, m_root->item->mapFromItem(&item, *at))))
        return;
    m_focus.hide();
    focusMoved();
    if (auto* control = dynamic_cast<UIControl*>(view)) {
        m_swipe.close();
        control->sendActions(UIControlEvents::touchUpInside);
        return;
    }
    // While a row stands open, a tap anywhere only closes it.
    if (m_swipe.close())
        return;
    if (const auto row = rowOf(dynamic_cast<UITableViewCell*>(view)))
        row->table.userSelectsRow(row->path);
}

void WindowBridge::itemPressed(ViewItem& item, bool isPressed)
{
    if (auto* control = dynamic_cast<UIControl*>(viewOf(item)))
        control->setHighlighted(isPressed && control->isEnabled());
}

void WindowBridge::itemScrolled(ViewItem& item, double contentY)
{
    auto* const scrollView = dynamic_cast<UIScrollView*>(viewOf(item));
    if (!scrollView || !std::isfinite(contentY))
        return;
    if (scrollView->contentOffset().y != contentY) {
        scrollView->setContentOffset({.x = scrollView->contentOffset().x, .y = contentY});
        m_swipe.close();
    }
}

/// Stops moving lists at a place of the window that is about to be touched. They would stop by themselves, but with Qt
/// 6.8 the touch that stops a list is kept from its rows.
void WindowBridge::catchLists(QPointF at)
{
    for (const auto& [view, node] : m_nodes) {
        if (dynamic_cast<const UIScrollView*>(node->view.get()) && node->item->contains(node->item->mapFromScene(at)))
            node->item->stopFlick();
    }
}

void WindowBridge::itemDragged(ViewItem& item, DragPhase phase, double distance)
{
    if (phase == DragPhase::Ended && !m_pointer.isLifted())
        phase = DragPhase::Cancelled;
    if (&item == m_root->item.get()) {
        m_back.drag(phase, distance);
        return;
    }
    const auto node = nodeOf(item);
    const auto* cell = node ? dynamic_cast<UITableViewCell*>(node->view.get()) : nullptr;
    const auto row = rowOf(cell);
    if (!row)
        return;
    if (phase == DragPhase::Began) {
        if (const auto list = nodeOf(row->table))
            list->item->takeHand();
        // A row that may not be deleted does not move at all.
        if (!row->table.userMayEditRow(row->path))
            return;
    }
    if (m_swipe.drag(node, phase, distance))
        deleteRow(*cell);
}

void WindowBridge::itemDeleteTapped(ViewItem& item)
{
    if (const auto* cell = dynamic_cast<UITableViewCell*>(viewOf(item)))
        deleteRow(*cell);
}

/// At once: the animation shows a row that has gone from the model already.
void WindowBridge::deleteRow(const UITableViewCell& cell)
{
    if (const auto row = rowOf(&cell))
        row->table.userDeletesRow(row->path);
    // A row that was not deleted goes back to its place.
    m_swipe.close();
}

void WindowBridge::itemWentTo(ViewItem& item, const QUrl& url)
{
    auto* const browser = dynamic_cast<SFSafariViewController*>(m_window.topViewController());
    if (browser && browser->pageView() == viewOf(item))
        browser->setShownAddress(url.toString(QUrl::FullyEncoded).toStdString());
}

bool WindowBridge::keyPressed(int key)
{
    if (m_window.subviews().size() <= 1)
        return false;
    if (key == Qt::Key_Escape || key == Qt::Key_Back)
        return goBack();
    const bool isUsed = m_focus.press(key);
    focusMoved();
    return isUsed;
}

bool WindowBridge::goBack()
{
    auto* const top = m_window.topViewController();
    if (!top)
        return false;
    if (auto* alert = dynamic_cast<UIAlertController*>(top)) {
        const auto& actions = alert->actions();
        const auto cancel = std::ranges::find(actions, UIAlertActionStyle::cancel, &UIAlertAction::style);
        // An alert without a way out must be answered.
        if (cancel != actions.end())
            alert->userChooses(static_cast<std::size_t>(cancel - actions.begin()));
        return true;
    }
    if (auto* stack = top->navigationController(); stack && stack->viewControllers().size() > 1) {
        stack->popViewController(true);
        return true;
    }
    if (!top->presentingViewController())
        return false;
    top->dismiss(true);
    return true;
}

/// Moves the ring, and Qt's own focus with it, which assistive technology follows.
void WindowBridge::focusMoved()
{
    auto* const focused = m_focus.view();
    if (focused == m_ringed)
        return;
    for (const auto* view : {std::exchange(m_ringed, focused), static_cast<const UIView*>(focused)}) {
        const auto found = m_nodes.find(view);
        if (found == m_nodes.end())
            continue;
        found->second->needsLook = true;
        list(found->second);
    }
    m_isFocusDue = focused != nullptr;
    if (!m_isUpdating) {
        takeFocus();
        m_wake();
    }
}

/// Once there is an item for what has the focus.
void WindowBridge::takeFocus()
{
    const auto found = m_nodes.find(m_ringed);
    if (m_isFocusDue && found != m_nodes.end()) {
        m_isFocusDue = false;
        found->second->item->forceActiveFocus(Qt::TabFocusReason);
    }
}

} // namespace kova
