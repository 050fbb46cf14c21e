// The SDK's one reachability monitor, the statuses it is turned into, and how making it can fail.

#pragma once

#include "KovaSDK/Services/Networking/Reachability.h"

#include <array>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace kova {

struct KovaNetwork {
    enum class Status {
        /// No usable connection.
        unreachable,
        /// Connected over the cellular network.
        wwan,
        /// Connected over Wi-Fi, or by wire.
        wifi,
    };

    class Error;

    /// The monitor; null until the tracker has started. It lives for the rest of the process then.
    [[nodiscard]] static std::shared_ptr<Reachability> reachability();
    static void setReachability(std::shared_ptr<Reachability> monitor);

    /// The status by fresh answers of the monitor. A missing monitor stops the process: the host has to start the SDK
    /// first.
    [[nodiscard]] static Status status();
};

[[nodiscard]] std::string_view rawValue(KovaNetwork::Status status);

/// An IPv4 socket address in the platform's layout; the port and the address are in network byte order.
struct SocketAddress {
    std::uint8_t length = 16;
    std::uint8_t family = 2;
    std::uint16_t port = 0;
    std::uint32_t address = 0;
    std::array<std::uint8_t, 8> zero {};

    friend bool operator==(const SocketAddress&, const SocketAddress&) = default;
};

/// The address as the log shows it: 127.0.0.1:80.
[[nodiscard]] std::string description(const SocketAddress& address);

/// Why the monitor could not be made or started.
class KovaNetwork::Error : public std::exception {
public:
    struct FailedToCreateWith {
        std::string hostname;
    };
    struct FailedToInitializeWith {
        SocketAddress address;
    };
    struct FailedToSetCallout { };
    struct FailedToSetDispatchQueue { };

    [[nodiscard]] static Error failedToCreateWith(std::string hostname);
    /// Declared for completeness: nothing in the SDK makes a target from an address.
    [[nodiscard]] static Error failedToInitializeWith(SocketAddress address);
    [[nodiscard]] static Error failedToSetCallout();
    [[nodiscard]] static Error failedToSetDispatchQueue();

    /// The two lines that are logged, with the host name or the address where there is one.
    [[nodiscard]] const char* what() const noexcept override { return m_message.c_str(); }

    using Kind = std::variant<FailedToCreateWith, FailedToInitializeWith, FailedToSetCallout, FailedToSetDispatchQueue>;
    [[nodiscard]] const Kind& kind() const { return m_kind; }

private:
    Error(Kind kind, const std::string& message);

    Kind m_kind;
    std::string m_message;
};

} // namespace kova
