#include "Platform/Qt/BackSwipe_p.h"
#include "Platform/Qt/ItemAnimation_p.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kova {

namespace {

/// The part of the width beyond which letting go means "back".
constexpr double backPart = 0.5;
constexpr double barSeconds = 0.2;

} // namespace

void BackSwipe::drag(DragPhase phase, double distance)
{
    if (phase == DragPhase::Began)
        begin();
    else if (m_phase == Phase::Idle)
        return;
    else if (phase == DragPhase::Moved)
        move(distance);
    else if (phase == DragPhase::Cancelled) {
        m_phase = Phase::Released;
        m_completes = false;
    } else {
        m_phase = Phase::Released;
        m_completes = m_distance > m_window.frame().size.width * backPart;
    }
    m_wake();
}

void BackSwipe::begin()
{
    follow();
    auto* const top = m_window.topViewController();
    auto* const stack = top ? top->navigationController() : nullptr;
    auto* const beneath = stack ? stack->revealPrevious() : nullptr;
    if (!beneath)
        return;
    const auto node = m_nodeOf(*top->view());
    // It may be on its way already, from a drag before.
    m_distance = m_start = node ? std::max(0.0, node->item->shift().x()) : 0;
    m_stack = stack;
    m_top = top;
    m_beneath = beneath;
    m_phase = Phase::Held;
}

void BackSwipe::move(double distance)
{
    m_distance = std::clamp(m_start + distance, 0.0, m_window.frame().size.width);
}

void BackSwipe::follow()
{
    if (m_phase == Phase::Idle || (m_top && m_stack && m_window.topViewController() == m_top.get()))
        return;
    m_phase = Phase::Idle;
    conceal();
    if (m_top) {
        if (const auto node = m_nodeOf(*m_top->view()))
            ItemAnimation::reset(*node->item);
    }
    fadeBar(1, 0);
}

/// The end of a drag, whichever screen is on top now.
void BackSwipe::conceal()
{
    if (m_beneath) {
        if (const auto node = m_nodeOf(*m_beneath->view()))
            node->item->setEnabled(true);
    }
    if (m_stack)
        m_stack->concealPrevious();
}

void BackSwipe::place()
{
    if (std::exchange(m_hasPopped, false)) {
        fadeBar(0, 0);
        fadeBar(1, barSeconds);
    }
    if (m_phase != Phase::Held && m_phase != Phase::Released)
        return;
    const auto top = m_nodeOf(*m_top->view());
    const auto beneath = m_nodeOf(*m_beneath->view());
    if (!top || !beneath)
        return;
    beneath->item->setEnabled(false);
    if (m_phase == Phase::Released) {
        m_phase = Phase::Settling;
        settle(*top->item, *beneath->item);
        return;
    }
    const double width = m_window.frame().size.width;
    ItemAnimation::reset(*top->item);
    ItemAnimation::reset(*beneath->item);
    top->item->setEnabled(true);
    top->item->setShift({m_distance, 0});
    beneath->item->setShift({(m_distance - width) * parallax, 0});
    fadeBar(width > 0 ? 1 - m_distance / width : 1, 0);
}

void BackSwipe::settle(ViewItem& top, ViewItem& beneath)
{
    const double width = std::max(1.0, m_window.frame().size.width);
    const double to = m_completes ? width : 0;
    const double seconds = slideSeconds * std::abs(to - m_distance) / width;
    // What goes hears no taps any more.
    top.setEnabled(!m_completes);
    fadeBar(m_completes ? 0 : 1, seconds);
    ItemAnimation {
        .property = "shift",
        .from = QPointF {(m_distance - width) * parallax, 0},
        .to = QPointF {(to - width) * parallax, 0},
        .seconds = seconds,
    }
        .run(beneath);
    ItemAnimation {.property = "shift", .from = QPointF {m_distance, 0}, .to = QPointF {to, 0}, .seconds = seconds}.run(
        top, [this] {
            if (m_phase != Phase::Settling)
                return;
            m_phase = Phase::Idle;
            if (m_completes && m_stack) {
                m_hasPopped = true;
                m_stack->popViewController(false);
            }
            conceal();
            m_wake();
        });
}

void BackSwipe::fadeBar(double to, double seconds) const
{
    const auto bar = m_stack ? m_nodeOf(m_stack->navigationBar()) : nullptr;
    if (!bar)
        return;
    for (const auto& child : bar->children)
        ItemAnimation {.property = "fade", .from = seconds > 0 ? child->item->fade() : to, .to = to, .seconds = seconds}
            .run(*child->item);
}

} // namespace kova
