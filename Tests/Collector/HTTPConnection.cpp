#include "Tests/Collector/HTTPConnection.h"

#include "Tests/Support/LoopbackSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <array>
#include <cstdlib>

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

bool HTTPConnection::send(std::string_view bytes)
{
    return sendAll(m_socket.get(), bytes);
}

std::optional<HTTPReply> HTTPConnection::receive()
{
    constexpr std::string_view headEnd = "\r\n\r\n";
    while (m_received.find(headEnd) == std::string::npos)
        if (!receiveMore())
            return std::nullopt;
    const auto bodyBegin = m_received.find(headEnd) + headEnd.size();
    // "HTTP/1.1 200 OK"
    HTTPReply reply {.status = std::atoi(m_received.c_str() + 9), .head = m_received.substr(0, bodyBegin)};
    constexpr std::string_view lengthField = "Content-Length: ";
    const auto field = reply.head.find(lengthField);
    const auto length = field == std::string::npos ? 0 : std::stoul(reply.head.substr(field + lengthField.size()));
    while (m_received.size() < bodyBegin + length)
        if (!receiveMore())
            return std::nullopt;
    reply.body = m_received.substr(bodyBegin, length);
    m_received.erase(0, bodyBegin + length);
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
