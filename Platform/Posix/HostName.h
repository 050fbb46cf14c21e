// What a host's name says by itself, before any resolver is asked.

#pragma once

#include "Platform/Posix/HostAddress.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kova {

class HostName {
public:
    /// None for what cannot be a host name: empty or longer than 253 bytes, a character other than letters, digits,
    /// "-",
    /// "." and "_", a label that is empty, longer than 63 bytes, or begins or ends with "-". One trailing dot is
    /// allowed, and so is a numeric address.
    [[nodiscard]] static std::optional<HostName> parse(std::string text);

    [[nodiscard]] const std::string& text() const { return m_text; }

    /// The addresses that need no resolver: of a numeric address, and of "localhost".
    [[nodiscard]] std::vector<HostAddress> fixedAddresses() const;

    /// Whether a resolver may know the name. The top-level domains "example", "invalid" and "test" are reserved and
    /// never resolve (RFC 2606), so nobody is asked for them.
    [[nodiscard]] bool isResolvable() const;

private:
    explicit HostName(std::string text);

    [[nodiscard]] std::string topLevelDomain() const;

    std::string m_text;
};

} // namespace kova
