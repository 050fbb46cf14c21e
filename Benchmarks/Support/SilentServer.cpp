#include "Benchmarks/Support/SilentServer.h"

#include "Benchmarks/Support/Require.h"
#include "Tests/Support/LoopbackSocket.h"

#include <sys/socket.h>
#include <unistd.h>

namespace kova::benchmarks {

SilentServer::SilentServer()
    : m_listener(tests::listenOnLoopback(m_port))
{
}

SilentServer::~SilentServer()
{
    for (const int connection : m_connections)
        close(connection);
    close(m_listener);
}

std::string SilentServer::url(const std::string& path) const
{
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

void SilentServer::takeRequests(int count)
{
    for (int taken = 0; taken < count; ++taken) {
        const int connection = tests::acceptConnection(m_listener);
        require(connection >= 0, "a connection cannot be accepted");
        m_connections.push_back(connection);
        char first = 0;
        require(recv(connection, &first, sizeof first, 0) == sizeof first, "a request did not arrive");
    }
}

} // namespace kova::benchmarks
