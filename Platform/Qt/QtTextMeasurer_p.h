// How much room a text takes when Qt Quick draws it: the same layout, asked beforehand.

#pragma once

#include "Platform/UIKit/TextMeasurer.h"

namespace kova {

class QtTextMeasurer : public TextMeasurer {
public:
    /// In whole points, rounded up, so that a text never is cut for a fraction.
    [[nodiscard]] CGSize size(
        std::string_view text, const UIFont& font, double maximumWidth, int numberOfLines) const override;
};

} // namespace kova
