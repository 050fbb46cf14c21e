#include "Platform/UIKit/FixedPitchMeasurer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace kova {

namespace {

/// Counted in code points: the lines that texts have been broken into, and the widest of them.
struct Lines {
    std::int64_t capacity;
    std::int64_t allowed;
    std::int64_t count = 0;
    std::int64_t widest = 0;

    void endLine(std::int64_t width)
    {
        ++count;
        widest = std::max(widest, std::min(width, capacity));
    }

    [[nodiscard]] bool areLeft() const { return count < allowed; }

    /// Breaks text that has no line ends.
    void breakParagraph(std::string_view text)
    {
        std::int64_t width = 0;
        // Blanks since the last word of the line: they count only when another word follows.
        std::int64_t blanks = 0;
        for (std::size_t at = 0; at < text.size();) {
            if (text[at] == ' ') {
                ++blanks;
                ++at;
                continue;
            }
            const auto end = std::min(text.find(' ', at), text.size());
            auto word = static_cast<std::int64_t>(std::count_if(text.begin() + static_cast<std::ptrdiff_t>(at),
                text.begin() + static_cast<std::ptrdiff_t>(end),
                [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80; }));
            at = end;
            const bool isLastLine = count + 1 >= allowed;
            if (width > 0 && !isLastLine && width + blanks + word > capacity) {
                endLine(width);
                width = blanks = 0;
            }
            while (word + blanks + width > capacity && count + 1 < allowed) {
                endLine(capacity);
                word -= std::max<std::int64_t>(0, capacity - blanks - width);
                width = blanks = 0;
            }
            width += blanks + word;
            blanks = 0;
        }
        endLine(width);
    }
};

} // namespace

CGSize FixedPitchMeasurer::size(std::string_view text, const UIFont& font, double maximumWidth, int numberOfLines) const
{
    constexpr auto unlimited = std::numeric_limits<std::int64_t>::max() / 4;
    const auto pitch = font.pointSize * m_advance;
    if (text.empty() || !(pitch > 0))
        return {};
    // A line takes one code point at least. The small addition forgives rounding of a width that was measured here.
    const auto fitting = maximumWidth / pitch + 1e-6;
    const auto capacity = fitting < 1e15 ? static_cast<std::int64_t>(std::max(1.0, fitting)) : unlimited;
    Lines lines {.capacity = capacity, .allowed = numberOfLines > 0 ? numberOfLines : unlimited};
    while (lines.areLeft()) {
        const auto end = text.find('\n');
        lines.breakParagraph(text.substr(0, end));
        if (end == std::string_view::npos)
            break;
        text.remove_prefix(end + 1);
    }
    return {.width = std::max(0.0, std::min(static_cast<double>(lines.widest) * pitch, maximumWidth)),
        .height = static_cast<double>(lines.count) * font.pointSize * m_lineHeight};
}

} // namespace kova
