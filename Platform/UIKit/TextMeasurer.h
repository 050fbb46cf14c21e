// How much room a text takes: what a drawing platform knows and the layout asks.
//
// Without a drawing platform a fixed pitch stands in: each code point is 0.6 of the point size wide, each line as high
// as the point size. Threads: the main thread only.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/CGGeometry.h"
#include "Platform/UIKit/UIFont.h"

#include <memory>
#include <string_view>

namespace kova {

class KOVA_EXPORT TextMeasurer {
public:
    virtual ~TextMeasurer() = default;

    /// The process-wide measurer, never null.
    [[nodiscard]] static std::shared_ptr<TextMeasurer> shared();
    /// Replaces it, null standing for the fixed pitch, and returns the one before.
    static std::shared_ptr<TextMeasurer> setShared(std::shared_ptr<TextMeasurer> measurer);

    /// The size of a UTF-8 text, not wider than `maximumWidth` (infinity: as wide as its longest line). It is broken
    /// at blanks, and within a word that is wider than a line, into at most `numberOfLines` lines; 0: as many as it
    /// needs. The empty text has no size.
    [[nodiscard]] virtual CGSize size(
        std::string_view text, const UIFont& font, double maximumWidth, int numberOfLines) const
        = 0;
};

} // namespace kova
