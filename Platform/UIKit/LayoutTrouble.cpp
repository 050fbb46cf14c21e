#include "Platform/UIKit/LayoutTrouble.h"

#include "Platform/UIKit/NSLayoutConstraint.h"
#include "Platform/UIKit/UIView.h"

#include <array>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>

namespace kova {

namespace {

/// The class's own name. Compilers put it into the type's name behind its length and those of its namespaces; where
/// they do not, the name stands as it is.
std::string className(const UIView& view)
{
    const std::string_view mangled = typeid(view).name();
    std::string_view last = mangled;
    for (std::size_t at = mangled.starts_with('N') ? 1 : 0; at < mangled.size();) {
        std::size_t length = 0;
        const auto* const begin = mangled.data() + at;
        const auto [end, error] = std::from_chars(begin, mangled.data() + mangled.size(), length);
        at += static_cast<std::size_t>(end - begin);
        if (error != std::errc {} || length > mangled.size() - at)
            break;
        last = mangled.substr(at, length);
        at += length;
    }
    return std::string {last};
}

std::string description(const UIView& view)
{
    auto text = className(view);
    if (view.tag() != 0)
        text += " (tag " + std::to_string(view.tag()) + ")";
    return text;
}

std::string_view name(NSLayoutAttribute attribute)
{
    constexpr std::array<std::string_view, 11> names {
        "nothing", "left", "right", "top", "bottom", "", "", "width", "height", "centerX", "centerY"};
    const auto index = static_cast<std::size_t>(attribute);
    return index < names.size() ? names[index] : "";
}

std::string number(double value)
{
    std::array<char, 32> text {};
    const auto length = std::snprintf(text.data(), text.size(), "%g", value);
    return {text.data(), static_cast<std::size_t>(length)};
}

std::string description(const NSLayoutConstraint& constraint)
{
    std::string text;
    if (const auto* const item = constraint.firstItem())
        text += description(*item) + "." + std::string {name(constraint.firstAttribute())};
    switch (constraint.relation()) {
    case NSLayoutRelation::lessThanOrEqual:
        text += " <= ";
        break;
    case NSLayoutRelation::equal:
        text += " = ";
        break;
    case NSLayoutRelation::greaterThanOrEqual:
        text += " >= ";
        break;
    }
    if (const auto* const item = constraint.secondItem()) {
        text += description(*item) + "." + std::string {name(constraint.secondAttribute())};
        if (constraint.multiplier() != 1)
            text += " * " + number(constraint.multiplier());
        text += " + ";
    }
    return text + number(constraint.constant());
}

void say(std::string line)
{
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace

void sayUnsatisfiable(const NSLayoutConstraint& constraint, bool& isSaid)
{
    if (!std::exchange(isSaid, true))
        say("UIKit: this constraint cannot be met beside the others, it is left out: " + description(constraint));
}

void sayAmbiguous(const UIView& view, bool& isSaid)
{
    if (!std::exchange(isSaid, true))
        say("UIKit: the constraints leave open where or how large this view is: " + description(view));
}

} // namespace kova
