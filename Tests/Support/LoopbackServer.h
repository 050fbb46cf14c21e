// A scripted web server on 127.0.0.1: it records every complete request and answers each as the test has said.
//
//     LoopbackServer server;
//     server.enqueue(Reply::status(503));
//     … let the code under test send to server.url("/v2/events") …
//     ASSERT_TRUE(server.waitForRequests(1));
//     EXPECT_EQ(server.requests()[0].body, R"({"a":1})");
//
// It speaks HTTP on the bare socket, since half of what it must do no web server would do. Bodies are read by their
// Content-Length. Threads: any; a thread of its own for each connection.

#pragma once

#include "Platform/Foundation/URL.h"
#include "Tests/Support/LoopbackReply.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace kova::tests {

struct RecordedRequest {
    std::string method;
    std::string target;
    /// In the order in which they came.
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    /// The number of the connection, from 0.
    int connection = 0;

    /// The value of the first header field of this name, without regard to case.
    [[nodiscard]] std::optional<std::string> header(std::string_view name) const;
};

class LoopbackServer {
public:
    LoopbackServer();
    ~LoopbackServer();
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    /// Answers the next request that has no answer yet.
    void enqueue(Reply reply);

    /// Answers every request for which nothing is enqueued. At first that is an empty 200.
    void setDefault(Reply reply);

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    [[nodiscard]] URL url(std::string_view target = "/") const;

    /// Waits, at most ten seconds, until so many requests have come in; false when they did not.
    [[nodiscard]] bool waitForRequests(std::size_t count) const;
    [[nodiscard]] std::vector<RecordedRequest> requests() const;

    /// The same, and forgets them.
    [[nodiscard]] std::vector<RecordedRequest> takeRequests();

    /// How many connections were made.
    [[nodiscard]] int connections() const;

    /// Waits, at most ten seconds, until every connection has been closed; false when one is still open.
    [[nodiscard]] bool waitUntilAllAreClosed() const;

private:
    void acceptConnections();
    void serve(int socket, int connection);
    [[nodiscard]] Reply record(RecordedRequest request);
    [[nodiscard]] bool send(int socket, const Reply& reply);
    void finish(int socket, Reply::Then then);

    std::uint16_t m_port = 0;
    int m_listener;
    std::stop_source m_stop;

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    /// Guarded by m_mutex, as is everything that follows.
    std::deque<Reply> m_replies;
    Reply m_default = Reply::status(200);
    std::vector<RecordedRequest> m_requests;
    std::set<int> m_open;
    std::vector<std::thread> m_threads;

    std::thread m_acceptor;
};

} // namespace kova::tests
