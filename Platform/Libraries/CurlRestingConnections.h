// The connections that curl keeps for later, watched for what their servers do unasked.
//
// A reply belongs to the request before it by nothing but its place. curl 7 takes a kept connection for good when bytes
// are waiting on it, or when it was reset, so a stray reply would answer the next request: an event would count as
// delivered that the server may have refused. Hence a connection with anything to read is ended before curl looks for
// one to use. Those that speak HTTP/2 are left alone: they number their replies, and servers may speak on them any
// time. Threads: the loop's.

#pragma once

#include <string>
#include <vector>

namespace kova {

class CurlRestingConnections {
public:
    /// Lets the handle, which goes to curl next, report here what becomes of sockets. To be called for every handle of
    /// the loop; this object must outlive the loop's multi handle.
    void watch(void* handle);

    /// What tells a connection from all others: a local port alone may serve for several servers.
    struct Ends {
        std::string localIP;
        int localPort = 0;
        std::string remoteIP;
        int remotePort = 0;

        friend bool operator==(const Ends&, const Ends&) = default;
    };

    /// This handle's request is about to go out over this connection. False when it has rested until now, and there is
    /// something to read on it.
    [[nodiscard]] bool take(const void* handle, Ends ends);

    /// The transfer of this handle has ended; its connection rests now, if curl keeps it. To be called while the handle
    /// is with the multi handle.
    void rest(void* handle);

    /// The handle leaves the multi handle, whatever became of its transfer.
    void leave(const void* handle);

    /// Ends those that there is something to read on, so that curl finds them closed.
    void endDisturbed();

private:
    struct Connection {
        Ends ends;
        /// Who uses it; null while it rests.
        const void* user = nullptr;
        /// Known while it rests.
        int socket = -1;
    };

    void close(int socket);

    std::vector<Connection> m_connections;
};

} // namespace kova
