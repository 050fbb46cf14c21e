// The methods of HTTP that an endpoint can ask for.

#pragma once

#include <string_view>

namespace kova {

enum class HTTPMethod { get, post, put, patch, delete_ };

/// The method as it stands in a request: "GET", "POST", "PUT", "PATCH", "DELETE".
[[nodiscard]] constexpr std::string_view rawValue(HTTPMethod method)
{
    switch (method) {
    case HTTPMethod::get:
        return "GET";
    case HTTPMethod::post:
        return "POST";
    case HTTPMethod::put:
        return "PUT";
    case HTTPMethod::patch:
        return "PATCH";
    case HTTPMethod::delete_:
        return "DELETE";
    }
    return {};
}

} // namespace kova
