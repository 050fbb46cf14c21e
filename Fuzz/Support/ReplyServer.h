// A web server on 127.0.0.1 that answers every request with bytes of the fuzzer's choice, whatever they are, and a
// request for "/good" as it should be.
//
// Threads: one of its own; the fuzzer's one at a time.

#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kova::fuzz {

class ReplyServer {
public:
    struct Plan {
        /// The whole reply.
        std::string bytes {};
        /// So many of them are sent first, the others on their own.
        std::size_t split = 0;
        /// Leaves the connection open behind the reply; but a client that waits for more is given up soon.
        bool keepsConnection = false;
    };

    ReplyServer();
    ~ReplyServer();
    ReplyServer(const ReplyServer&) = delete;
    ReplyServer& operator=(const ReplyServer&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }

    void answerWith(Plan plan);

    /// The client has its reply. When this returns the server has sent all there is, and closed what it was to close;
    /// what is open then stays open.
    void finish();

private:
    using Clock = std::chrono::steady_clock;

    struct Connection {
        int socket = -1;
        std::string received {};
        std::optional<Clock::time_point> closesAt {};
    };

    void run();
    [[nodiscard]] int timeout();
    void closeOverdue();
    void accept();
    void receive(Connection& connection);
    void answer(Connection& connection, bool isGood);
    static void close(Connection& connection);

    std::uint16_t m_port = 0;
    int m_listening;
    int m_wake;

    /// Guards what follows, and is held while a reply is sent.
    std::mutex m_mutex;
    Plan m_plan;
    bool m_isFinished = true;
    std::vector<Connection> m_connections;

    std::jthread m_thread;
};

} // namespace kova::fuzz
