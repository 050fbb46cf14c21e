#include "Fuzz/Support/ReplyServer.h"

#include "Fuzz/Fuzzing.h"
#include "Tests/Support/LoopbackSocket.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace kova::fuzz {

namespace {

// How long a client may wait for what does not come on a connection that is kept.
constexpr auto patience = std::chrono::milliseconds {2};

} // namespace

ReplyServer::ReplyServer()
    : m_listening(tests::listenOnLoopback(m_port))
    , m_wake(eventfd(0, EFD_CLOEXEC))
{
    require(m_wake >= 0);
    m_thread = std::jthread {[this] { run(); }};
}

ReplyServer::~ReplyServer()
{
    constexpr std::uint64_t one = 1;
    require(write(m_wake, &one, sizeof one) == sizeof one);
    m_thread.join();
    for (auto& connection : m_connections)
        close(connection);
    ::close(m_listening);
    ::close(m_wake);
}

void ReplyServer::answerWith(Plan plan)
{
    const std::lock_guard lock {m_mutex};
    m_plan = std::move(plan);
    m_isFinished = false;
}

void ReplyServer::finish()
{
    const std::lock_guard lock {m_mutex};
    m_isFinished = true;
    for (auto& connection : m_connections)
        connection.closesAt.reset();
}

void ReplyServer::run()
{
    std::vector<pollfd> waited;
    while (true) {
        waited.assign(
            {{.fd = m_wake, .events = POLLIN, .revents = 0}, {.fd = m_listening, .events = POLLIN, .revents = 0}});
        for (const auto& connection : m_connections)
            waited.push_back({.fd = connection.socket, .events = POLLIN, .revents = 0});
        poll(waited.data(), waited.size(), timeout());
        if (waited[0].revents != 0)
            return;
        const std::lock_guard lock {m_mutex};
        for (std::size_t index = 2; index < waited.size(); ++index) {
            if (waited[index].revents != 0)
                receive(m_connections[index - 2]);
        }
        closeOverdue();
        std::erase_if(m_connections, [](const auto& connection) { return connection.socket < 0; });
        if (waited[1].revents != 0)
            accept();
    }
}

int ReplyServer::timeout()
{
    const std::lock_guard lock {m_mutex};
    const auto isWaiting = [](const auto& connection) { return connection.closesAt.has_value(); };
    return std::ranges::any_of(m_connections, isWaiting) ? static_cast<int>(patience.count()) : -1;
}

void ReplyServer::closeOverdue()
{
    for (auto& connection : m_connections) {
        if (connection.closesAt && *connection.closesAt <= Clock::now())
            close(connection);
    }
}

void ReplyServer::accept()
{
    const int socket = tests::acceptConnection(m_listening);
    if (socket >= 0)
        m_connections.push_back({.socket = socket});
}

void ReplyServer::receive(Connection& connection)
{
    std::array<char, 4096> chunk;
    const auto count = recv(connection.socket, chunk.data(), chunk.size(), 0);
    if (count <= 0)
        return close(connection);
    auto& received = connection.received;
    received.append(chunk.data(), static_cast<std::size_t>(count));
    while (const auto length = connection.socket < 0 ? std::nullopt : tests::wholeRequest(received)) {
        const bool isGood = received.starts_with("GET /good ");
        received.erase(0, *length);
        answer(connection, isGood);
    }
}

void ReplyServer::answer(Connection& connection, bool isGood)
{
    // A client that has gone is no error.
    if (isGood) {
        tests::sendAll(connection.socket, "HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\ngood");
        return;
    }
    const std::string_view bytes = m_plan.bytes;
    tests::sendAll(connection.socket, bytes.substr(0, m_plan.split));
    tests::sendAll(connection.socket, bytes.substr(m_plan.split));
    if (!m_plan.keepsConnection)
        close(connection);
    else if (!m_isFinished)
        connection.closesAt = Clock::now() + patience;
}

void ReplyServer::close(Connection& connection)
{
    if (connection.socket >= 0)
        ::close(std::exchange(connection.socket, -1));
}

} // namespace kova::fuzz
