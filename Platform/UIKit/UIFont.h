// A font of the system's one family: a size in points and a weight.

#pragma once

namespace kova {

enum class UIFontWeight { Regular, Bold };

struct UIFont {
    double pointSize = 17;
    UIFontWeight weight = UIFontWeight::Regular;

    [[nodiscard]] static constexpr UIFont systemFont(double ofSize) { return {ofSize, UIFontWeight::Regular}; }
    [[nodiscard]] static constexpr UIFont boldSystemFont(double ofSize) { return {ofSize, UIFontWeight::Bold}; }

    friend bool operator==(const UIFont&, const UIFont&) = default;
};

} // namespace kova
