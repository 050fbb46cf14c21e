#include "Platform/Posix/HostAddress.h"

#include <arpa/inet.h>

namespace kova {

std::optional<HostAddress> HostAddress::fromText(const std::string& text)
{
    // A NUL would hide what follows it.
    if (text.contains('\0'))
        return std::nullopt;
    HostAddress address;
    if (inet_pton(AF_INET, text.c_str(), address.bytes.data()) == 1)
        return address;
    address = {.family = Family::v6, .bytes = {}};
    if (inet_pton(AF_INET6, text.c_str(), address.bytes.data()) == 1)
        return address;
    return std::nullopt;
}

} // namespace kova
