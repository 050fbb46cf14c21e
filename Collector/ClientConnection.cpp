#include "Collector/ClientConnection.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace kova::collector {

namespace {

constexpr std::size_t receiveCapacity = 64 * 1024;
/// No client of the SDK comes near; it bounds the memory that garbage without a line end can take.
constexpr std::size_t longestHead = 256 * 1024;
/// Twice the largest body that is accepted; it bounds chunked bodies, whose length is not known beforehand.
constexpr std::size_t largestRequest = 128 * 1024 * 1024;
constexpr std::chrono::seconds farewellTimeout {1};
constexpr std::size_t longestFarewell = 16 * 1024 * 1024;

} // namespace

ClientConnection::ClientConnection(int socket, const StopEvent& stop)
    : m_socket(socket)
    , m_stop(stop)
    , m_received(receiveCapacity)
{
}

ClientConnection::~ClientConnection()
{
    if (m_socket < 0)
        return;
    // Closing with unread bytes resets the connection, and the client could lose the reply that is on its way.
    ::shutdown(m_socket, SHUT_WR);
    for (std::size_t discarded = 0; discarded < longestFarewell;) {
        const auto count = fill(farewellTimeout);
        if (count <= 0)
            break;
        discarded += static_cast<std::size_t>(count);
    }
    close();
}

bool ClientConnection::waitForRequest()
{
    m_head.clear();
    m_reply.clear();
    m_requestSize = 0;
    m_isInHead = true;
    m_isCutShort = false;
    return m_begin != m_end || fill(idleTimeout) > 0;
}

std::ptrdiff_t ClientConnection::read(char* bytes, std::size_t capacity)
{
    if (m_begin == m_end) {
        const auto filled = !m_reply.empty() && !send() ? -1 : fill(idleTimeout);
        if (filled <= 0) {
            m_isCutShort = true;
            return filled;
        }
    }
    const auto count = std::min(capacity, m_end - m_begin);
    m_requestSize += count;
    if (m_requestSize > (m_isInHead ? longestHead : largestRequest)) {
        m_isCutShort = true;
        return -1;
    }
    if (m_isInHead)
        m_head.append(m_received.data() + m_begin, count);
    std::copy_n(m_received.data() + m_begin, count, bytes);
    m_begin += count;
    return static_cast<std::ptrdiff_t>(count);
}

bool ClientConnection::readRestOfHead()
{
    const bool wasInHead = m_isInHead;
    char byte = 0;
    while (m_isInHead) {
        if (m_head.ends_with("\r\n\r\n"))
            endHead();
        else if (read(&byte, 1) <= 0)
            return false;
    }
    return wasInHead;
}

void ClientConnection::write(std::string_view bytes)
{
    m_reply += bytes;
}

bool ClientConnection::send()
{
    std::string_view rest = m_reply;
    while (!rest.empty()) {
        if (!waitFor(POLLOUT, idleTimeout))
            return false;
        const auto sent = ::send(m_socket, rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent < 0 && errno != EAGAIN && errno != EINTR)
            return false;
        if (sent > 0)
            rest.remove_prefix(static_cast<std::size_t>(sent));
    }
    m_reply.clear();
    return true;
}

void ClientConnection::abandon()
{
    close();
}

void ClientConnection::reset()
{
    const linger now {.l_onoff = 1, .l_linger = 0};
    setsockopt(m_socket, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    close();
}

/// False when the program stops or the time is over.
bool ClientConnection::waitFor(short events, std::chrono::milliseconds timeout) const
{
    pollfd entries[] = {
        {.fd = m_stop.descriptor(), .events = POLLIN, .revents = 0},
        {.fd = m_socket, .events = events, .revents = 0},
    };
    int ready = 0;
    do {
        ready = poll(entries, std::size(entries), static_cast<int>(timeout.count()));
    } while (ready < 0 && errno == EINTR);
    return ready > 0 && entries[0].revents == 0;
}

/// Receives into the empty buffer: the number of bytes, 0 at the end of the stream, negative for anything else.
std::ptrdiff_t ClientConnection::fill(std::chrono::milliseconds timeout)
{
    while (waitFor(POLLIN, timeout)) {
        const auto count = recv(m_socket, m_received.data(), m_received.size(), MSG_DONTWAIT);
        if (count < 0 && (errno == EAGAIN || errno == EINTR))
            continue;
        m_begin = 0;
        m_end = count > 0 ? static_cast<std::size_t>(count) : 0;
        return count;
    }
    return -1;
}

void ClientConnection::close()
{
    ::close(m_socket);
    m_socket = -1;
}

} // namespace kova::collector
