// Measures texts as if every code point were equally wide: what stands in where nothing is drawn.

#pragma once

#include "Platform/UIKit/TextMeasurer.h"

namespace kova {

class FixedPitchMeasurer : public TextMeasurer {
public:
    /// Both of the point size: how wide a code point and how high a line is.
    explicit FixedPitchMeasurer(double advance = 0.6, double lineHeight = 1.0)
        : m_advance(advance)
        , m_lineHeight(lineHeight)
    {
    }

    /// Lines break at blanks, at line ends in the text, and within words wider than a line. What does not fit into the
    /// lines allowed stays on the last one, which is then as wide as it may be.
    [[nodiscard]] CGSize size(
        std::string_view text, const UIFont& font, double maximumWidth, int numberOfLines) const override;

private:
    double m_advance;
    double m_lineHeight;
};

} // namespace kova
