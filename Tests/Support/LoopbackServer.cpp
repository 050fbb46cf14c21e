#include "Tests/Support/LoopbackServer.h"

#include "Platform/Foundation/URLRequest.h"
#include "Tests/Support/LoopbackSocket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <sstream>
#include <utility>

namespace kova::tests {

namespace {

/// Reads requests off a socket, one after another, keeping what it read too much.
class RequestReader {
public:
    explicit RequestReader(int socket)
        : m_socket(socket)
    {
    }

    /// None when the connection ends before a request is complete.
    std::optional<RecordedRequest> next()
    {
        std::optional<std::size_t> size;
        while (!(size = wholeRequest(m_buffer))) {
            if (!readMore())
                return {};
        }
        const auto end = m_buffer.find("\r\n\r\n");
        auto request = head(m_buffer.substr(0, end + 2));
        request.body = m_buffer.substr(end + 4, *size - end - 4);
        m_buffer.erase(0, *size);
        return request;
    }

private:
    /// Of a head with all its line ends.
    static RecordedRequest head(const std::string& text)
    {
        RecordedRequest request;
        std::istringstream lines {text};
        lines >> request.method >> request.target;
        std::string line;
        std::getline(lines, line);
        while (std::getline(lines, line) && line.ends_with('\r')) {
            line.pop_back();
            const auto colon = std::min(line.find(':'), line.size());
            const auto value = std::min(line.find_first_not_of(' ', colon + 1), line.size());
            request.headers.emplace_back(line.substr(0, colon), line.substr(value));
        }
        return request;
    }

    bool readMore()
    {
        std::array<char, 65'536> bytes;
        const auto count = ::recv(m_socket, bytes.data(), bytes.size(), 0);
        if (count <= 0)
            return false;
        m_buffer.append(bytes.data(), static_cast<std::size_t>(count));
        return true;
    }

    const int m_socket;
    std::string m_buffer;
};

} // namespace

std::optional<std::string> RecordedRequest::header(std::string_view name) const
{
    const HeaderFieldLess less;
    for (const auto& [field, value] : headers) {
        if (!less(field, name) && !less(name, field))
            return value;
    }
    return {};
}

LoopbackServer::LoopbackServer()
    : m_listener(listenOnLoopback(m_port))
{
    m_acceptor = std::thread {[this] { acceptConnections(); }};
}

LoopbackServer::~LoopbackServer()
{
    m_stop.request_stop();
    ::shutdown(m_listener, SHUT_RDWR);
    m_acceptor.join();
    {
        const std::lock_guard lock {m_mutex};
        for (const auto socket : m_open)
            ::shutdown(socket, SHUT_RDWR);
    }
    for (auto& thread : m_threads)
        thread.join();
    ::close(m_listener);
}

void LoopbackServer::enqueue(Reply reply)
{
    const std::lock_guard lock {m_mutex};
    m_replies.push_back(std::move(reply));
}

void LoopbackServer::setDefault(Reply reply)
{
    const std::lock_guard lock {m_mutex};
    m_default = std::move(reply);
}

URL LoopbackServer::url(std::string_view target) const
{
    return URL::create("http://127.0.0.1:" + std::to_string(m_port) + std::string {target}).value();
}

bool LoopbackServer::waitForRequests(std::size_t count) const
{
    std::unique_lock lock {m_mutex};
    return m_changed.wait_for(lock, std::chrono::seconds {10}, [&] { return m_requests.size() >= count; });
}

std::vector<RecordedRequest> LoopbackServer::requests() const
{
    const std::lock_guard lock {m_mutex};
    return m_requests;
}

std::vector<RecordedRequest> LoopbackServer::takeRequests()
{
    const std::lock_guard lock {m_mutex};
    return std::exchange(m_requests, {});
}

int LoopbackServer::connections() const
{
    const std::lock_guard lock {m_mutex};
    return static_cast<int>(m_threads.size());
}

bool LoopbackServer::waitUntilAllAreClosed() const
{
    std::unique_lock lock {m_mutex};
    return m_changed.wait_for(lock, std::chrono::seconds {10}, [&] { return m_open.empty(); });
}

void LoopbackServer::acceptConnections()
{
    for (;;) {
        const auto socket = acceptConnection(m_listener);
        if (socket < 0) {
            if (m_stop.stop_requested())
                return;
            continue;
        }
        const std::lock_guard lock {m_mutex};
        m_open.insert(socket);
        m_threads.emplace_back([this, socket, number = static_cast<int>(m_threads.size())] { serve(socket, number); });
    }
}

void LoopbackServer::serve(int socket, int connection)
{
    RequestReader reader {socket};
    auto then = Reply::Then::keepConnection;
    while (then == Reply::Then::keepConnection) {
        auto request = reader.next();
        if (!request)
            break;
        request->connection = connection;
        const auto reply = record(std::move(*request));
        if (!send(socket, reply))
            break;
        then = reply.then;
    }
    // Silence lasts until the other side gives up, or the server ends.
    if (then == Reply::Then::silence)
        (void)reader.next();
    finish(socket, then);
}

Reply LoopbackServer::record(RecordedRequest request)
{
    const std::lock_guard lock {m_mutex};
    m_requests.push_back(std::move(request));
    m_changed.notify_all();
    if (m_replies.empty())
        return m_default;
    auto reply = std::move(m_replies.front());
    m_replies.pop_front();
    return reply;
}

bool LoopbackServer::send(int socket, const Reply& reply)
{
    if (reply.heldBy && !reply.heldBy->enter(m_stop.get_token()))
        return false;
    const auto isSent
        = !reply.pacedBy ? sendAll(socket, reply.bytes) : std::ranges::all_of(reply.bytes, [&](const char& byte) {
              return reply.pacedBy->enter(m_stop.get_token()) && sendAll(socket, {&byte, 1});
          });
    if (!isSent)
        return false;
    while (!reply.repeated.empty()) {
        if (!sendAll(socket, reply.repeated))
            return false;
    }
    if (!reply.afterthought)
        return true;
    if (!reply.afterthought->heldBy->enter(m_stop.get_token()) || !sendAll(socket, reply.afterthought->bytes))
        return false;
    reply.afterthought->sent->open();
    return true;
}

void LoopbackServer::finish(int socket, Reply::Then then)
{
    const std::lock_guard lock {m_mutex};
    if (then == Reply::Then::reset) {
        const linger abort {.l_onoff = 1, .l_linger = 0};
        ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
    }
    m_open.erase(socket);
    ::close(socket);
    m_changed.notify_all();
}

} // namespace kova::tests
