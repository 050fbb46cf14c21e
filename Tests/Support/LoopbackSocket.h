// The bare sockets of the servers on 127.0.0.1 that tests, fuzzers and benchmarks have. All in the header, so that each
// of them includes it and links nothing.

#pragma once

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace kova::tests {

/// A socket that listens on a port of the system's choice, which goes to `port`.
[[nodiscard]] inline int listenOnLoopback(std::uint16_t& port)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (listener < 0 || ::bind(listener, generic, size) != 0 || ::listen(listener, SOMAXCONN) != 0
        || ::getsockname(listener, generic, &size) != 0)
        throw std::system_error {errno, std::system_category(), "listening on loopback"};
    port = ntohs(address.sin_port);
    return listener;
}

/// The next connection, which sends small replies at once; negative when there is none.
[[nodiscard]] inline int acceptConnection(int listener)
{
    const int connection = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    const int on = 1;
    ::setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return connection;
}

/// False when the client has gone.
inline bool sendAll(int socket, std::string_view bytes)
{
    while (!bytes.empty()) {
        const auto count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

/// The length of the first request in the bytes, with its body; none while it is not all there. Our own client writes
/// it, so it is well formed.
[[nodiscard]] inline std::optional<std::size_t> wholeRequest(std::string_view bytes)
{
    constexpr std::string_view end = "\r\n\r\n";
    constexpr std::string_view field = "\r\nContent-Length: ";
    const auto head = bytes.find(end);
    if (head == std::string_view::npos)
        return std::nullopt;
    std::size_t body = 0;
    if (const auto length = bytes.substr(0, head).find(field); length != std::string_view::npos)
        std::from_chars(bytes.data() + length + field.size(), bytes.data() + head, body);
    const auto whole = head + end.size() + body;
    return bytes.size() >= whole ? std::optional {whole} : std::nullopt;
}

} // namespace kova::tests
