// A name server on the loopback interface that keeps silent until it is told what to answer.
//
// Threads: one at a time; it answers on a thread of its own.

#pragma once

#include "Tests/Support/FileDescriptor.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace kova::tests {

class NameServer {
public:
    /// On a port of its own, unless one is given.
    explicit NameServer(std::uint16_t port = 0);
    ~NameServer();
    NameServer(const NameServer&) = delete;
    NameServer& operator=(const NameServer&) = delete;

    /// Where it listens, as "127.0.0.1:port".
    [[nodiscard]] std::string address() const;

    /// From now on every name has this IPv4 address and no IPv6 one; questions that are waiting are answered too.
    void answer(const std::string& hostAddress);

    /// From now on all that is said is that something went wrong here.
    void fail() { answer({}); }

    /// The next name that was asked for and has not been returned before; none when there is none in time.
    [[nodiscard]] std::optional<std::string> waitForQuestion(std::chrono::milliseconds timeout);

private:
    struct Pending;

    void run();
    void reply(const Pending& pending) const;

    FileDescriptor m_socket;
    FileDescriptor m_end;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_questions;
    std::vector<Pending> m_pending;
    /// None keeps silent, an empty one fails.
    std::optional<std::string> m_answer;
    std::size_t m_seen = 0;

    std::thread m_thread;
};

} // namespace kova::tests
