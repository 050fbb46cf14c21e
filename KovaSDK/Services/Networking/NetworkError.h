// How a web service can fail, in the SDK's terms. Converts to std::error_code, whose message is the error's
// description.

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace kova {

enum class NetworkError {
    noConnection = 1,
    failed,
    authentication,
    badRequest,
    outdated,
    noData,
    noResponse,
    unableToDecode,
    unableToEncode,
    noUrl,
};

/// The text for a user, always present: "No connection", "Request failed", ….
[[nodiscard]] std::optional<std::string> errorDescription(NetworkError error);

/// The case as the log shows it: its name.
[[nodiscard]] std::string_view description(NetworkError error);

[[nodiscard]] std::error_code make_error_code(NetworkError error);

} // namespace kova

template <> struct std::is_error_code_enum<kova::NetworkError> : std::true_type { };
