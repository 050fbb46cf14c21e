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

bool HostAddress::isLoopback() const
{
    constexpr std::uint8_t v4LoopbackNetwork = 127;
    return family == Family::v4 ? bytes[0] == v4LoopbackNetwork : *this == fromText("::1");
}

} // namespace kova
