#include "KovaSDK/Services/Networking/NetworkError.h"

#include <array>

namespace kova {

namespace {

struct Texts {
    std::string_view name;
    const char* description;
};

// In the order of the enumeration, which begins with 1: zero means success in an error code.
constexpr std::array texts {
    Texts {"noConnection", "No connection"},
    Texts {"failed", "Request failed"},
    Texts {"authentication", "Authentication failed"},
    Texts {"badRequest", "Bad request"},
    Texts {"outdated", "Outdated request"},
    Texts {"noData", "No data"},
    Texts {"noResponse", "No response"},
    Texts {"unableToDecode", "Unable to decode data"},
    Texts {"unableToEncode", "Unable to encode parameters"},
    Texts {"noUrl", "Missing URL"},
};

const Texts& textsOf(NetworkError error)
{
    return texts.at(static_cast<std::size_t>(error) - 1);
}

class NetworkErrorCategory final : public std::error_category {
public:
    [[nodiscard]] const char* name() const noexcept override { return "NetworkError"; }
    [[nodiscard]] std::string message(int code) const override
    {
        const bool isKnown = code >= 1 && static_cast<std::size_t>(code) <= texts.size();
        return isKnown ? textsOf(static_cast<NetworkError>(code)).description : "Unknown error";
    }
};

} // namespace

std::optional<std::string> errorDescription(NetworkError error)
{
    return textsOf(error).description;
}

std::string_view description(NetworkError error)
{
    return textsOf(error).name;
}

std::error_code make_error_code(NetworkError error)
{
    // Never destroyed: a thread may still ask for a text while main's statics go away.
    static const auto& category = *new NetworkErrorCategory;
    return {static_cast<int>(error), category};
}

} // namespace kova
