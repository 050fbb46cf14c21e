// A bare HTTP connection for tests: sends the bytes it is given and shows the bytes that come back, so that nothing a
// client library does on its own (trying again, opening a second connection) hides what a server did.

#pragma once

#include "Tests/Support/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kova::tests {

struct HTTPReply {
    int status = 0;
    /// All before the body, as it came.
    std::string head {};
    std::string body {};
};

/// Whole, with its Content-Length and with the connection kept alive.
[[nodiscard]] std::string httpRequest(std::string_view method, std::string_view path, std::string_view body = {});

class HTTPConnection {
public:
    enum class End {
        closed,
        reset,
        /// Nothing came for longer than any test should take.
        silent,
    };

    explicit HTTPConnection(std::uint16_t port);

    /// False when the server has closed before all was taken: what it said before can still be read.
    bool send(std::string_view bytes);

    /// The next reply, read by its Content-Length; none when the connection ended first.
    [[nodiscard]] std::optional<HTTPReply> receive();

    /// Reads on to the end of the connection, and tells how that was. What came is in rest().
    [[nodiscard]] End waitForEnd();
    [[nodiscard]] const std::string& rest() const { return m_received; }

private:
    [[nodiscard]] bool receiveMore();

    FileDescriptor m_socket;
    std::string m_received;
    End m_end = End::silent;
};

} // namespace kova::tests
