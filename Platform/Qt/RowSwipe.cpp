#include "Platform/Qt/ItemAnimation_p.h"
#include "Platform/Qt/RowSwipe_p.h"

#include <algorithm>

namespace kova {

namespace {

constexpr double settleSeconds = 0.2;
/// The part of a row's width beyond which letting go deletes.
constexpr double commitPart = 0.6;

void settle(ViewItem& item, double x)
{
    ItemAnimation {.property = "swipe", .from = item.swipe(), .to = x, .seconds = settleSeconds}.run(item);
}

} // namespace

bool RowSwipe::drag(const std::shared_ptr<ViewNode>& row, DragPhase phase, double distance)
{
    auto& item = *row->item;
    if (phase == DragPhase::Began) {
        if (m_open.lock() != row)
            close();
        m_open = row;
        ItemAnimation::stop(item, "swipe");
        m_start = item.swipe();
        return false;
    }
    if (m_open.lock() != row)
        return false;
    if (phase == DragPhase::Moved) {
        item.setSwipe(std::clamp(m_start + distance, -item.width(), 0.0));
        return false;
    }
    const double aside = -item.swipe();
    if (phase == DragPhase::Cancelled || aside <= item.content().deleteWidth / 2) {
        close();
        return false;
    }
    const bool isDeleted = aside > item.width() * commitPart;
    settle(item, isDeleted ? -item.width() : -item.content().deleteWidth);
    return isDeleted;
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

void RowSwipe::forget(const ViewNode& row)
{
    if (m_open.lock().get() == &row)
        m_open.reset();
}

} // namespace kova
