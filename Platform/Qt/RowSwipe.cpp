#include "Platform/Qt/ItemAnimation_p.h"
#include "Platform/Qt/RowSwipe_p.h"

#include <algorithm>
#include <utility>

namespace kova {

namespace {

constexpr double settleSeconds = 0.2;
/// The part of a row's width beyond which letting go deletes.
constexpr double commitPart = 0.6;

void settle(ViewItem& item, double x, std::function<void()> ended = {})
{
    ItemAnimation {.property = "shift", .from = item.shift(), .to = QPointF {x, 0}, .seconds = settleSeconds}.run(
        item, std::move(ended));
}

} // namespace

void RowSwipe::drag(
    const std::shared_ptr<ViewNode>& row, DragPhase phase, double distance, std::function<void()> commit)
{
    auto& item = *row->item;
    if (phase == DragPhase::Began) {
        if (m_open.lock() != row)
            close();
        m_open = m_dragged = row;
        m_start = item.shift().x();
        return;
    }
    if (phase == DragPhase::Cancelled) {
        // Also one that is on its way to be deleted.
        if (std::exchange(m_dragged, {}).lock() == row) {
            m_open = row;
            close();
        }
        return;
    }
    if (m_open.lock() != row)
        return;
    const double x = std::clamp(m_start + distance, -item.width(), 0.0);
    if (phase == DragPhase::Moved) {
        ItemAnimation::reset(item);
        item.setShift({x, 0});
    } else if (-x > item.width() * commitPart) {
        m_open.reset();
        settle(item, -item.width(), std::move(commit));
    } else if (-x > item.content().deleteWidth / 2) {
        settle(item, -item.content().deleteWidth);
    } else {
        close();
    }
}

bool RowSwipe::close()
{
    const auto open = m_open.lock();
    m_open.reset();
    if (!open)
        return false;
    settle(*open->item, 0);
    return true;
}

} // namespace kova
