#include "Benchmarks/Support/OkServer.h"

#include "Benchmarks/Support/Require.h"
#include "Tests/Support/LoopbackSocket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string_view>

namespace kova::benchmarks {

OkServer::OkServer()
    : m_listener(tests::listenOnLoopback(m_port))
{
    m_acceptor = std::thread {[this] { acceptConnections(); }};
}

OkServer::~OkServer()
{
    shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    close(m_listener);
    for (auto& thread : m_threads)
        thread.join();
}

std::string OkServer::url(const std::string& path) const
{
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

void OkServer::acceptConnections()
{
    while (true) {
        const int connection = tests::acceptConnection(m_listener);
        if (connection < 0)
            return;
        m_threads.emplace_back([this, connection] { serve(connection); });
    }
}

void OkServer::serve(int connection)
{
    constexpr std::string_view reply = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n";
    std::string pending;
    std::array<char, 4096> bytes {};
    while (true) {
        const auto count = recv(connection, bytes.data(), bytes.size(), 0);
        if (count <= 0)
            break;
        pending.append(bytes.data(), static_cast<std::size_t>(count));
        while (const auto whole = tests::wholeRequest(pending)) {
            pending.erase(0, *whole);
            ++m_requests;
            require(tests::sendAll(connection, reply), "a reply cannot be sent");
        }
    }
    close(connection);
}

} // namespace kova::benchmarks
