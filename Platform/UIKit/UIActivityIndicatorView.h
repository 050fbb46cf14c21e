// The wheel that turns while something is awaited.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIView.h"

namespace kova {

/// The toolkit's styles, as this SDK counts them.
enum class UIActivityIndicatorViewStyle { white = 0, whiteLarge = 1, gray = 2 };

class KOVA_EXPORT UIActivityIndicatorView : public UIView {
public:
    explicit UIActivityIndicatorView(UIActivityIndicatorViewStyle style);

    [[nodiscard]] UIActivityIndicatorViewStyle style() const { return m_style; }
    [[nodiscard]] bool isAnimating() const { return m_isAnimating; }
    /// A wheel that does not turn is not seen.
    void startAnimating() { assign(m_isAnimating, true); }
    void stopAnimating() { assign(m_isAnimating, false); }

    /// 37 points a side when large, else 20.
    [[nodiscard]] CGSize intrinsicContentSize() const override;

private:
    UIActivityIndicatorViewStyle m_style;
    bool m_isAnimating = false;
};

} // namespace kova
