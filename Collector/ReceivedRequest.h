// A request as the client sent it.
//
// Kept apart from what the HTTP library makes of it: the library stops at the first thing that it does not accept, and
// a log must show what was on the wire.

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kova::collector {

struct ReceivedRequest {
    std::string method;
    /// The request target as sent, with its query.
    std::string path;
    /// One entry a field name, in order of first appearance and with the spelling seen first. The values of repeated
    /// fields are joined by ", ".
    std::vector<std::pair<std::string, std::string>> headers;
    /// Without its transfer coding.
    std::string body;

    /// Reads request line and header fields; none when they do not begin with an HTTP/1 request line.
    [[nodiscard]] static std::optional<ReceivedRequest> fromHead(std::string_view head);
};

} // namespace kova::collector
