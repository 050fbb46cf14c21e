#include "Collector/ReceivedRequest.h"

#include <algorithm>

namespace kova::collector {

namespace {

/// Takes the text up to the next line feed off the front, and returns it without line end.
std::string_view takeLine(std::string_view& text)
{
    const auto end = text.find('\n');
    auto line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return line;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t";
    const auto begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

char lowered(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

} // namespace

std::optional<ReceivedRequest> ReceivedRequest::fromHead(std::string_view head)
{
    const auto requestLine = takeLine(head);
    const auto first = requestLine.find(' ');
    const auto second = requestLine.rfind(' ');
    if (first == std::string_view::npos || first == 0 || second <= first + 1
        || !requestLine.substr(second + 1).starts_with("HTTP/1."))
        return std::nullopt;

    ReceivedRequest request;
    request.method = requestLine.substr(0, first);
    request.path = requestLine.substr(first + 1, second - first - 1);
    while (!head.empty()) {
        const auto line = takeLine(head);
        const auto colon = line.find(':');
        if (colon == std::string_view::npos || colon == 0)
            continue;
        const auto name = line.substr(0, colon);
        const auto value = trimmed(line.substr(colon + 1));
        const auto same = std::ranges::find_if(request.headers,
            [name](const auto& field) { return std::ranges::equal(field.first, name, {}, lowered, lowered); });
        if (same == request.headers.end())
            request.headers.emplace_back(name, value);
        else
            same->second.append(", ").append(value);
    }
    return request;
}

} // namespace kova::collector
