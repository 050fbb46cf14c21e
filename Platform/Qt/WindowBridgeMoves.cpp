// The half of the bridge that draws how screens come and go.

#include "Platform/Qt/ItemAnimation_p.h"
#include "Platform/Qt/ViewItem_p.h"
#include "Platform/Qt/WindowBridge_p.h"
#include "Platform/UIKit/SFSafariViewController.h"
#include "Platform/UIKit/UIAlertController.h"
#include "Platform/UIKit/UINavigationBar.h"

#include <QDesktopServices>
#include <QUrl>
#include <algorithm>
#include <utility>

namespace kova {

namespace {

constexpr double presentSeconds = 0.4;
constexpr double alertSeconds = 0.2;

const UIView* topmost(UIViewController& screen, const UIView* beneath)
{
    const UIView* view = screen.view().get();
    while (view->superview() && view->superview() != beneath)
        view = view->superview();
    return view;
}

} // namespace

void WindowBridge::didMove(const UITransition& transition)
{
    m_swipe.close();
    const bool isModal
        = transition.kind == UITransition::Kind::Present || transition.kind == UITransition::Kind::Dismiss;
    const bool isPresent = transition.kind == UITransition::Kind::Present;
    auto& upper = isPresent ? transition.to : transition.from;
    if (transition.animated) {
        m_moves.push_back({.kind = transition.kind,
            .from = isModal ? topmost(transition.from, &m_window) : transition.from.view().get(),
            .to = isModal ? topmost(transition.to, &m_window) : transition.to.view().get(),
            .isAlert = isModal && dynamic_cast<const UIAlertController*>(&upper)});
    }
    // What depends on which screen is on top.
    list(m_root);
    m_root->needsLook = true;
    m_wake();
    // Without a page of our own the system's browser shows it, once.
    const auto* browser = dynamic_cast<const SFSafariViewController*>(&transition.to);
    if (browser && isPresent && !showsPage(*browser)) {
        const QUrl url {QString::fromStdString(browser->url().absoluteString())};
        m_isPageElsewhere = ViewItem::isWebAddress(url) && QDesktopServices::openUrl(url);
    }
}

void WindowBridge::runMoves()
{
    for (const auto& move : std::exchange(m_moves, {})) {
        switch (move.kind) {
        case UITransition::Kind::Present:
            present(move);
            break;
        case UITransition::Kind::Dismiss:
            dismiss(move);
            break;
        case UITransition::Kind::Push:
        case UITransition::Kind::Pop:
            slide(move);
            break;
        }
    }
}

void WindowBridge::present(const Move& move)
{
    const auto found = m_nodes.find(move.to);
    if (found == m_nodes.end())
        return;
    auto& item = *found->second->item;
    if (move.isAlert)
        ItemAnimation {.property = "fade", .from = 0.0, .to = 1.0, .seconds = alertSeconds}.run(item);
    else
        ItemAnimation {
            .property = "shift",
            .from = QPointF {0, m_window.frame().size.height},
            .to = QPointF {},
            .seconds = presentSeconds,
        }
            .run(item);
}

void WindowBridge::dismiss(const Move& move)
{
    // With the screen on top go those between it and the one that remains.
    for (const auto& node : m_left) {
        if (node->isGhost || node->item->parentItem() != m_root->item->container())
            continue;
        auto& item = *node->item;
        item.setEnabled(false);
        const auto letGo = keep(node);
        if (move.isAlert && node->view.get() == move.from)
            ItemAnimation {.property = "fade", .from = item.fade(), .to = 0.0, .seconds = alertSeconds}.run(
                item, letGo);
        else
            ItemAnimation {
                .property = "shift",
                .from = item.shift(),
                .to = QPointF {0, m_window.frame().size.height},
                .seconds = presentSeconds,
            }
                .run(item, letGo);
    }
}

void WindowBridge::slide(const Move& move)
{
    const auto to = m_nodes.find(move.to);
    const auto from = std::ranges::find_if(
        m_left, [&](const auto& node) { return !node->isGhost && node->view.get() == move.from; });
    if (to == m_nodes.end() || from == m_left.end())
        return;
    const bool isPush = move.kind == UITransition::Kind::Push;
    auto& coming = *to->second->item;
    auto& going = *(*from)->item;
    const double width = coming.width();
    const QPointF right {width, 0};
    const QPointF left {-width * parallax, 0};
    going.setEnabled(false);
    if (isPush)
        going.stackBefore(&coming);
    else
        going.stackAfter(&coming);
    ItemAnimation {.property = "shift", .from = isPush ? right : left, .to = QPointF {}, .seconds = slideSeconds}.run(
        coming);
    ItemAnimation {.property = "shift", .from = going.shift(), .to = isPush ? left : right, .seconds = slideSeconds}
        .run(going, keep(*from));

    // The bar's texts do not slide, they fade.
    const auto* container = to->second->view->superview();
    for (const auto& sibling : container->subviews()) {
        const auto bar = dynamic_cast<const UINavigationBar*>(sibling.get()) ? nodeOf(*sibling) : nullptr;
        if (!bar)
            continue;
        for (const auto& child : bar->children)
            ItemAnimation {.property = "fade", .from = 0.0, .to = 1.0, .seconds = slideSeconds}.run(*child->item);
    }
}

std::function<void()> WindowBridge::keep(const std::shared_ptr<ViewNode>& node)
{
    m_ghosts.push_back(node);
    return [this, kept = std::weak_ptr {node}] {
        m_finished.push_back(kept);
        m_wake();
    };
}

} // namespace kova
