#include "Platform/UIKit/UIImageView.h"

#include <utility>

namespace kova {

void UIImageView::setImage(std::shared_ptr<const UIImage> image)
{
    if (m_image == image)
        return;
    m_image = std::move(image);
    invalidateIntrinsicContentSize();
}

CGSize UIImageView::intrinsicContentSize() const
{
    return m_image ? m_image->size() : CGSize {};
}

} // namespace kova
