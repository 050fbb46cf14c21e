#include "Platform/Posix/HostName.h"

#include <algorithm>
#include <utility>

namespace kova {

namespace {

constexpr std::size_t longestName = 253;
constexpr std::size_t longestLabel = 63;

// The locale has no say in names.
char lowercase(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isLabelCharacter(char letter)
{
    const auto lower = lowercase(letter);
    return (lower >= 'a' && lower <= 'z') || (lower >= '0' && lower <= '9') || lower == '-' || lower == '_';
}

bool isLabel(std::string_view label)
{
    return !label.empty() && label.size() <= longestLabel && label.front() != '-' && label.back() != '-'
        && std::ranges::all_of(label, isLabelCharacter);
}

std::string_view withoutTrailingDot(std::string_view name)
{
    return name.substr(0, name.size() - (name.ends_with('.') ? 1 : 0));
}

} // namespace

HostName::HostName(std::string text)
    : m_text(std::move(text))
{
}

std::optional<HostName> HostName::parse(std::string text)
{
    if (text.size() > longestName)
        return std::nullopt;
    if (!HostAddress::fromText(text)) {
        auto rest = withoutTrailingDot(text);
        for (auto dot = rest.find('.'); dot != std::string_view::npos; dot = rest.find('.')) {
            if (!isLabel(rest.substr(0, dot)))
                return std::nullopt;
            rest.remove_prefix(dot + 1);
        }
        if (!isLabel(rest))
            return std::nullopt;
    }
    return HostName {std::move(text)};
}

std::vector<HostAddress> HostName::fixedAddresses() const
{
    if (const auto address = HostAddress::fromText(m_text))
        return {*address};
    if (topLevelDomain() == "localhost")
        return {*HostAddress::fromText("127.0.0.1"), *HostAddress::fromText("::1")};
    return {};
}

bool HostName::isResolvable() const
{
    const auto domain = topLevelDomain();
    return fixedAddresses().empty() && domain != "example" && domain != "invalid" && domain != "test";
}

std::string HostName::topLevelDomain() const
{
    const auto name = withoutTrailingDot(m_text);
    const auto dot = name.rfind('.');
    std::string domain {dot == std::string_view::npos ? name : name.substr(dot + 1)};
    std::ranges::transform(domain, domain.begin(), lowercase);
    return domain;
}

} // namespace kova
