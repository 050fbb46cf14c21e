// The outcome of classifying a web service's reply, and what an empty reply decodes to.

#pragma once

#include "KovaSDK/Services/Networking/NetworkError.h"

#include <optional>
#include <string>

namespace kova {

class NetworkResponse {
public:
    [[nodiscard]] static NetworkResponse failure(NetworkError error) { return NetworkResponse {error}; }
    [[nodiscard]] static NetworkResponse success() { return NetworkResponse {std::nullopt}; }

    /// The error of a failure, none for a success.
    [[nodiscard]] std::optional<NetworkError> error() const { return m_error; }

    friend bool operator==(const NetworkResponse&, const NetworkResponse&) = default;

private:
    explicit NetworkResponse(std::optional<NetworkError> error)
        : m_error(error)
    {
    }

    std::optional<NetworkError> m_error;
};

/// The outcome as the log shows it: success, or failure(authentication).
[[nodiscard]] std::string description(const NetworkResponse& response);

} // namespace kova
