// A socket that listens on 127.0.0.1, on a port that the system chooses.

#pragma once

#include "Benchmarks/Support/Require.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>

namespace kova::benchmarks {

/// The socket; its port goes to `port`.
[[nodiscard]] inline int listenOnLoopback(std::uint16_t& port)
{
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    require(bind(listener, generic, size) == 0 && listen(listener, SOMAXCONN) == 0
            && getsockname(listener, generic, &size) == 0,
        "no loopback server can be made");
    port = ntohs(address.sin_port);
    return listener;
}

} // namespace kova::benchmarks
