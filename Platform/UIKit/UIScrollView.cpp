#include "Platform/UIKit/UIScrollView.h"

#include "Platform/UIKit/UIWindowObserver.h"

namespace kova {

namespace {

double clamped(double offset, double before, double content, double after, double extent)
{
    const double last = std::max(-before, content + after - extent);
    // Written so that a number that is none ends at the start.
    return offset > -before ? std::min(offset, last) : -before;
}

} // namespace

void UIScrollView::setContentOffset(CGPoint offset)
{
    if (offset == contentOffset())
        return;
    setBoundsOrigin(offset);
    setNeedsLayout();
}

CGPoint UIScrollView::clampedOffset(CGPoint offset) const
{
    const auto& inset = m_adjustedContentInset;
    const auto extent = bounds().size;
    return {.x = clamped(offset.x, inset.left, m_contentSize.width, inset.right, extent.width),
        .y = clamped(offset.y, inset.top, m_contentSize.height, inset.bottom, extent.height)};
}

void UIScrollView::setContentSize(CGSize size)
{
    if (m_contentSize == size)
        return;
    m_contentSize = size;
    didChange(UIChange::Geometry);
}

void UIScrollView::setAdjustedContentInset(const UIEdgeInsets& insets)
{
    if (m_adjustedContentInset == insets)
        return;
    const bool isAtTop = contentOffset().y == -m_adjustedContentInset.top;
    m_adjustedContentInset = insets;
    didChange(UIChange::Geometry);
    if (isAtTop)
        setContentOffset({.x = contentOffset().x, .y = -insets.top});
}

} // namespace kova
