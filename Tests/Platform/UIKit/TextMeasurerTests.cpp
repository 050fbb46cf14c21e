#include "Platform/UIKit/TextMeasurer.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace kova {
namespace {

constexpr auto unlimited = std::numeric_limits<double>::infinity();

// In a font in which a code point is 6 wide and a line 12 high; the sizes expected are in code points and lines.
TEST(TextMeasurer, FixedPitch)
{
    struct Case {
        std::string text;
        double width;
        int numberOfLines;
        int columns;
        int lines;
    };
    const Case cases[] = {
        {"", unlimited, 0, 0, 0},
        {"olá", unlimited, 1, 3, 1},
        {"ab cd", 24, 1, 4, 1},
        {"ab cd", 24, 0, 2, 2},
        {"ab cd", 30, 0, 5, 1},
        {"ab cd ef", 24, 2, 4, 2},
        {"ab  cd", 24, 0, 2, 2},
        {"abcdefgh", 18, 0, 3, 3},
        {"a bcdefgh", 18, 0, 3, 4},
        {"a\nbcd", unlimited, 0, 3, 2},
        {"a\n\nb", unlimited, 0, 1, 3},
        {"   ", unlimited, 0, 0, 1},
        {"abc", 0, 0, 0, 3},
        {"ab cd ef", 12, 3, 2, 3},
    };
    for (const auto& [text, width, numberOfLines, columns, lines] : cases) {
        const auto size = TextMeasurer::shared()->size(text, UIFont::systemFont(10), width, numberOfLines);
        EXPECT_NEAR(size.width, columns * 6, 1e-9) << '"' << text << "\" within " << width;
        EXPECT_NEAR(size.height, lines * 12, 1e-9) << '"' << text << "\" within " << width;
    }
}

} // namespace
} // namespace kova
