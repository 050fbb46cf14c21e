#include "Benchmarks/Support/OkServer.h"

#include "Benchmarks/Support/LoopbackListener.h"
#include "Benchmarks/Support/Require.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <string_view>

namespace kova::benchmarks {

namespace {

/// The length of the first request in the bytes; zero while it is not whole.
std::size_t wholeRequest(std::string_view bytes)
{
    constexpr std::string_view field = "Content-Length: ";
    const auto head = bytes.find("\r\n\r\n");
    if (head == std::string_view::npos)
        return 0;
    std::size_t length = 0;
    if (const auto begin = bytes.substr(0, head).find(field); begin != std::string_view::npos)
        std::from_chars(bytes.data() + begin + field.size(), bytes.data() + head, length);
    const auto whole = head + 4 + length;
    return bytes.size() >= whole ? whole : 0;
}

} // namespace

OkServer::OkServer()
    : m_listener(listenOnLoopback(m_port))
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
        const int connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection < 0)
            return;
        const int yes = 1;
        setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
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
        while (const auto whole = wholeRequest(pending)) {
            pending.erase(0, whole);
            ++m_requests;
            require(send(connection, reply.data(), reply.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(reply.size()),
                "a reply cannot be sent");
        }
    }
    close(connection);
}

} // namespace kova::benchmarks
