// URLs over uriparser: the library decides what a valid reference is, appending works on text that it has accepted.

#include "Platform/Foundation/URL.h"

#include <uriparser/Uri.h>

#include <algorithm>

namespace kova {

namespace {

bool isAsciiAlphanumeric(char byte)
{
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9');
}

/// Whether a byte may stand in a path as it is. "%" may not: it would begin an escape that nobody wrote.
bool mayStandInPath(char byte)
{
    return isAsciiAlphanumeric(byte) || std::string_view {"-._~!$&'()*+,;=:@/"}.contains(byte);
}

/// How many dots a segment begins with that stand for a step within the path: those of "." and "..". Some servers drop
/// parameters ("..;a") before they look for steps.
std::size_t stepDots(std::string_view segment)
{
    const auto name = segment.substr(0, segment.find(';'));
    return name == "." || name == ".." ? name.size() : 0;
}

void appendSegment(std::string& text, std::string_view segment)
{
    static constexpr std::string_view digits = "0123456789ABCDEF";
    // "%2E" would be a dot again to a reader that normalises URLs, or that decodes before it looks for steps.
    const auto dots = stepDots(segment);
    for (std::size_t dot = 0; dot < dots; ++dot)
        text += "%252E";
    for (const auto byte : segment.substr(dots)) {
        if (mayStandInPath(byte)) {
            text += byte;
            continue;
        }
        const auto value = static_cast<unsigned char>(byte);
        text.append({'%', digits[value >> 4U], digits[value & 0xFU]});
    }
}

void appendComponent(std::string& text, std::string_view component)
{
    while (true) {
        const auto end = std::min(component.find('/'), component.size());
        appendSegment(text, component.substr(0, end));
        if (end == component.size())
            return;
        text += '/';
        component.remove_prefix(end + 1);
    }
}

/// Where the path of a valid reference begins: behind the scheme, if there is one, and the authority, if there is one.
std::size_t beginOfPath(std::string_view reference)
{
    std::size_t begin = 0;
    const auto delimiter = reference.find_first_of(":/?#");
    if (delimiter != std::string_view::npos && reference[delimiter] == ':')
        begin = delimiter + 1;
    if (reference.substr(begin).starts_with("//"))
        begin = std::min(reference.find_first_of("/?#", begin + 2), reference.size());
    return begin;
}

} // namespace

std::optional<URL> URL::create(std::string_view text)
{
    if (text.empty())
        return {};
    UriUriA parsed;
    const char* errorPosition = nullptr;
    if (uriParseSingleUriExA(&parsed, text.data(), text.data() + text.size(), &errorPosition) != URI_SUCCESS)
        return {};
    uriFreeUriMembersA(&parsed);
    return URL {std::string {text}};
}

URL URL::appendingPathComponent(std::string_view component) const
{
    const std::string_view reference = m_text;
    const auto begin = beginOfPath(reference);
    const auto end = std::min(reference.find_first_of("?#", begin), reference.size());
    auto path = reference.substr(begin, end - begin);
    if (component.empty() && path.ends_with('/'))
        return *this;

    while (path.ends_with('/'))
        path.remove_suffix(1);
    while (component.starts_with('/'))
        component.remove_prefix(1);
    // The "/" is written in any case, so no relative reference ever gets a first segment with a colon, which would read
    // as a scheme, and no path without an authority ever begins with "//".
    std::string result;
    result.reserve(reference.size() + 1 + component.size());
    result.append(reference.substr(0, begin)).append(path).append("/");
    appendComponent(result, component);
    result.append(reference.substr(end));
    return URL {std::move(result)};
}

} // namespace kova
