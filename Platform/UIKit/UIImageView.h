// Shows a picture, placed by the view's content mode.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIImage.h"
#include "Platform/UIKit/UIView.h"

namespace kova {

class KOVA_EXPORT UIImageView : public UIView {
public:
    using UIView::UIView;

    /// Null when there is none.
    [[nodiscard]] const std::shared_ptr<const UIImage>& image() const { return m_image; }
    void setImage(std::shared_ptr<const UIImage> image);

    /// The picture's size; without one the view wishes no room at all.
    [[nodiscard]] CGSize intrinsicContentSize() const override;

private:
    std::shared_ptr<const UIImage> m_image;
};

} // namespace kova
