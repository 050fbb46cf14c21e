#include "Platform/Foundation/URLSession.h"

#include "Platform/Foundation/ServiceSlot.h"

namespace kova {

namespace {

class URLErrorCategory final : public std::error_category {
public:
    [[nodiscard]] const char* name() const noexcept override { return "URLError"; }
    [[nodiscard]] std::string message(int code) const override
    {
        switch (static_cast<URLError>(code)) {
        case URLError::unknown:
            break;
        case URLError::cancelled:
            return "The request was cancelled";
        case URLError::timedOut:
            return "The request timed out";
        case URLError::unsupportedURL:
            return "The request cannot be sent: not an http or https URL, or a header field that is not allowed";
        case URLError::cannotFindHost:
            return "The host name could not be resolved";
        case URLError::cannotConnectToHost:
            return "The server refused the connection or could not be reached";
        case URLError::networkConnectionLost:
            return "The connection was lost before the reply was complete";
        case URLError::httpTooManyRedirects:
            return "The server redirected too many times";
        case URLError::badServerResponse:
            return "The server's reply is not valid HTTP";
        case URLError::cannotDecodeContentData:
            return "The content of the reply could not be decoded";
        case URLError::dataLengthExceedsMaximum:
            return "The reply is larger than 32 MiB";
        case URLError::secureConnectionFailed:
            return "A secure connection to the server could not be made";
        }
        return "The request failed for an unknown reason";
    }
};

} // namespace

const std::error_category& urlErrorCategory()
{
    // Never destroyed: a thread may still ask for a text while main's statics go away.
    static const auto& category = *new URLErrorCategory;
    return category;
}

std::error_code make_error_code(URLError error)
{
    return {static_cast<int>(error), urlErrorCategory()};
}

std::shared_ptr<URLSession> URLSession::shared()
{
    return ServiceSlot<URLSession>::required(
        "the HTTP session is missing: install a platform (a LinuxPlatform object in main) before the SDK is used");
}

std::shared_ptr<URLSession> URLSession::setShared(std::shared_ptr<URLSession> session)
{
    return ServiceSlot<URLSession>::exchange(std::move(session));
}

} // namespace kova
