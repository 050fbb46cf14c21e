// How much room a text takes when Qt Quick draws it: the same layout, asked beforehand.

#pragma once

#include "Platform/UIKit/TextMeasurer.h"

namespace kova {

class QtTextMeasurer : public TextMeasurer {
public:
    /// In whole points, rounded up, so that a text never is cut for a fraction. A line is as high as the font has it,
    /// ascent and descent: 15 points at a size of 12 in Inter, so that a button's badge of one character, whose height
    /// is its label's and 5, is 20 across with it; it is 18, its least, with fonts whose lines are 13 high at most.
    [[nodiscard]] CGSize size(
        std::string_view text, const UIFont& font, double maximumWidth, int numberOfLines) const override;
};

} // namespace kova
