// A view onto something larger than itself.
//
// The origin of its bounds is the content offset: what of the content stands at the top left corner.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIView.h"

namespace kova {

class KOVA_EXPORT UIScrollView : public UIView {
public:
    using UIView::UIView;

    [[nodiscard]] CGPoint contentOffset() const { return bounds().origin; }
    /// Takes any offset: a drawing platform overshoots while the content bounces.
    void setContentOffset(CGPoint offset);
    /// The nearest offset at which the view is filled with content.
    [[nodiscard]] CGPoint clampedOffset(CGPoint offset) const;
    [[nodiscard]] CGSize contentSize() const { return m_contentSize; }
    void setContentSize(CGSize size);
    /// How far bars lie over the edges: the content may be scrolled that much further. Setting it while the content
    /// stands at its top keeps it there.
    [[nodiscard]] const UIEdgeInsets& adjustedContentInset() const { return m_adjustedContentInset; }
    void setAdjustedContentInset(const UIEdgeInsets& insets);

private:
    CGSize m_contentSize {};
    UIEdgeInsets m_adjustedContentInset {};
};

} // namespace kova
