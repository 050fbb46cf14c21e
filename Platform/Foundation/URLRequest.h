// What is asked of a web service: one HTTP request.

#pragma once

#include "Platform/Foundation/Data.h"
#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/URL.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kova {

/// How caches are to be treated; the numbers are the platform's.
enum class CachePolicy {
    useProtocolCachePolicy = 0,
    reloadIgnoringLocalCacheData = 1,
    reloadIgnoringLocalAndRemoteCacheData = 4,
};

/// Orders header field names without regard to ASCII case.
struct KOVA_EXPORT HeaderFieldLess {
    using is_transparent = void;
    bool operator()(std::string_view left, std::string_view right) const;
};

using HTTPHeaderFields = std::map<std::string, std::string, HeaderFieldLess>;

struct KOVA_EXPORT URLRequest {
    URL url;
    CachePolicy cachePolicy = CachePolicy::useProtocolCachePolicy;
    /// The time that the whole exchange may take, from resume to the last byte of the reply.
    std::chrono::duration<double> timeoutInterval {60.0};
    std::string httpMethod = "GET";
    HTTPHeaderFields allHTTPHeaderFields {};
    /// Sent with every method, GET included.
    std::optional<Data> httpBody {};

    /// Adds a header field; to a field that is there already the value is appended after a comma.
    void addValue(std::string_view value, std::string_view field);

    /// A GET without a body: only its reply matters. Everything else delivers something, and its status matters.
    [[nodiscard]] bool isDownload() const;
};

/// The reply's head.
struct KOVA_EXPORT HTTPURLResponse {
    /// Where the reply came from: the request's URL, or the last one redirected to.
    URL url;
    int statusCode = 0;
    HTTPHeaderFields allHeaderFields {};
    /// The body was longer than what is read of it; see URLSession::dataTask().
    bool isBodyCut = false;

    /// "image/png": the content type in lower case, without its parameters; empty when the reply names none.
    [[nodiscard]] std::string mimeType() const;
};

/// The request as the log shows it: its URL.
KOVA_EXPORT [[nodiscard]] std::string description(const URLRequest& request);

} // namespace kova
