#include "KovaSDK/Services/Networking/NetworkResponse.h"

namespace kova {

std::string description(const NetworkResponse& response)
{
    const auto error = response.error();
    return error ? "failure(" + std::string {description(*error)} + ")" : "success";
}

} // namespace kova
