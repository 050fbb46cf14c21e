#include "Platform/UIKit/UIActivityIndicatorView.h"

namespace kova {

UIActivityIndicatorView::UIActivityIndicatorView(UIActivityIndicatorViewStyle style)
    : m_style(style)
{
    sizeToFit();
}

CGSize UIActivityIndicatorView::intrinsicContentSize() const
{
    const double side = m_style == UIActivityIndicatorViewStyle::whiteLarge ? 37 : 20;
    return {.width = side, .height = side};
}

} // namespace kova
