// An IP address in the form that the kernel's route query takes.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace kova {

struct HostAddress {
    enum class Family : std::uint8_t { v4, v6 };

    Family family = Family::v4;
    /// In network order; an IPv4 address fills the first four.
    std::array<std::uint8_t, 16> bytes {};

    /// An address in its usual notation, without a zone; none for any other text.
    [[nodiscard]] static std::optional<HostAddress> fromText(const std::string& text);

    [[nodiscard]] std::size_t size() const { return family == Family::v4 ? 4 : bytes.size(); }

    [[nodiscard]] bool isLoopback() const;

    friend bool operator==(const HostAddress&, const HostAddress&) = default;
};

} // namespace kova
