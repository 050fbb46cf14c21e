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

/// Whether another view lies over a view at a point of it. Texts and pictures let touches through.
bool isCovered(const UIView& view, CGPoint at)
{
    const auto point = view.convert({at, {}}, nullptr).origin;
    for (const auto* beneath = &view; beneath->superview(); beneath = beneath->superview()) {
        const auto& siblings = beneath->superview()->subviews();
        auto above = std::ranges::find(siblings, beneath, &std::shared_ptr<UIView>::get);
        for (++above; above != siblings.end(); ++above) {
            const auto& other = **above;
            const auto area = other.convert(other.bounds(), nullptr);
            const bool isThere = !other.isHidden() && other.alpha() > 0 && point.x >= area.minX()
                && point.x < area.maxX() && point.y >= area.minY() && point.y < area.maxY();
            if (isThere && !dynamic_cast<const UILabel*>(&other) && !dynamic_cast<const UIImageView*>(&other))
                return true;
        }
    }
    return false;
}

UITableView* tableOf(const UIView& cell)
{
    return dynamic_cast<UITableView*>(cell.superview());
}

} // namespace

std::shared_ptr<ViewNode> WindowBridge::cellNodeOf(const ViewItem& item) const
{
    const auto* view = viewOf(item);
    const auto node = view && tableOf(*view) ? nodeOf(*view) : nullptr;
    return node && node->row >= 0 ? node : nullptr;
}

UIView* WindowBridge::viewOf(const ViewItem& item) const
{
    const auto found
        = std::ranges::find_if(m_nodes, [&](const auto& entry) { return entry.second->item.get() == &item; });
    return found == m_nodes.end() ? nullptr : found->second->view.get();
}

void WindowBridge::itemTapped(ViewItem& item, std::optional<QPointF> at)
{
    auto* const view = viewOf(item);
    if (!view || (at && kova::isCovered(*view, {.x = at->x(), .y = at->y()})))
        return;
    m_focus.hide();
    focusMoved();
    if (auto* control = dynamic_cast<UIControl*>(view)) {
        m_swipe.close();
        control->sendActions(UIControlEvents::touchUpInside);
        return;
    }
    const auto cell = cellNodeOf(item);
    // While a row stands open, a tap anywhere only closes it.
    if (m_swipe.close() || !cell)
        return;
    tableOf(*view)->userSelectsRow({.row = cell->row});
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

void WindowBridge::itemDragged(ViewItem& item, DragPhase phase, double distance)
{
    if (&item == m_root->item.get()) {
        m_back.drag(phase, distance);
        return;
    }
    const auto cell = cellNodeOf(item);
    if (!cell)
        return;
    if (phase == DragPhase::Began) {
        auto& table = *tableOf(*cell->view.get());
        if (const auto list = nodeOf(table))
            list->item->takeHand();
        // One that may not be deleted does not move at all.
        if (!table.userMayEditRow({.row = cell->row}))
            return;
    }
    m_swipe.drag(cell, phase, distance, [this, node = std::weak_ptr {cell}] {
        if (const auto row = node.lock())
            itemDeleteTapped(*row->item);
    });
}

void WindowBridge::itemDeleteTapped(ViewItem& item)
{
    const auto cell = cellNodeOf(item);
    if (!cell)
        return;
    auto& table = *tableOf(*cell->view.get());
    table.userDeletesRow({.row = cell->row});
    // A row that may not be deleted goes back to its place.
    if (!cell->isGhost)
        ItemAnimation {.property = "shift", .from = item.shift(), .to = QPointF {}, .seconds = 0.2}.run(item);
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
