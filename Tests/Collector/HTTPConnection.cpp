#include "Tests/Collector/HTTPConnection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cctype>

namespace kova::tests {

std::string httpRequest(std::string_view method, std::string_view path, std::string_view body)
{
    std::string request {method};
    request.append(" ").append(path).append(" HTTP/1.1\r\nHost: localhost\r\nContent-Length: ");
    return request.append(std::to_string(body.size())).append("\r\n\r\n").append(body);
}

HTTPConnection::HTTPConnection(std::uint16_t port)
    : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")
{
    const timeval bound {.tv_sec = 30, .tv_usec = 0};
    setsockopt(m_socket.get(), SOL_SOCKET, SO_RCVTIMEO, &bound, sizeof bound);
    setsockopt(m_socket.get(), SOL_SOCKET, SO_SNDTIMEO, &bound, sizeof bound);
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::system_error(errno, std::generic_category(), "connect");
}

void HTTPConnection::send(std::string_view bytes)
{
    while (!bytes.empty()) {
        const auto count = ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count < 0)
            return;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

std::optional<HTTPReply> HTTPConnection::receive()
{
    constexpr std::string_view headEnd = "\r\n\r\n";
    while (m_received.find(headEnd) == std::string::npos)
        if (!receiveMore())
            return std::nullopt;
    HTTPReply reply;
    std::size_t position = 0;
    const auto takeLine = [&] {
        const auto end = m_received.find("\r\n", position);
        auto line = m_received.substr(position, end - position);
        position = end + 2;
        return line;
    };
    // "HTTP/1.1 200 OK"
    reply.status = std::atoi(takeLine().substr(9, 3).c_str());
    for (auto line = takeLine(); !line.empty(); line = takeLine()) {
        const auto colon = std::min(line.find(": "), line.size());
        auto name = line.substr(0, colon);
        std::ranges::transform(name, name.begin(), [](unsigned char letter) { return std::tolower(letter); });
        reply.headers[name] = line.substr(std::min(colon + 2, line.size()));
    }
    const auto length = reply.headers.contains("content-length") ? std::stoul(reply.headers["content-length"]) : 0;
    while (m_received.size() < position + length)
        if (!receiveMore())
            return std::nullopt;
    reply.body = m_received.substr(position, length);
    m_received.erase(0, position + length);
    return reply;
}

HTTPConnection::End HTTPConnection::waitForEnd()
{
    while (receiveMore()) { }
    return m_end;
}

bool HTTPConnection::receiveMore()
{
    std::array<char, 16 * 1024> bytes;
    const auto count = recv(m_socket.get(), bytes.data(), bytes.size(), 0);
    if (count > 0) {
        m_received.append(bytes.data(), static_cast<std::size_t>(count));
        return true;
    }
    m_end = count == 0 ? End::closed : errno == ECONNRESET ? End::reset : End::silent;
    return false;
}

} // namespace kova::tests
