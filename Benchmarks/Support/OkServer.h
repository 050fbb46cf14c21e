// A web server on 127.0.0.1 that answers every request at once with an empty 200, on the bare socket.
//
// A thread for each connection, which is kept alive until its client closes it; ends when the last one has.

#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace kova::benchmarks {

class OkServer {
public:
    OkServer();
    ~OkServer();
    OkServer(const OkServer&) = delete;
    OkServer& operator=(const OkServer&) = delete;

    /// "http://127.0.0.1:PORT" and the path.
    [[nodiscard]] std::string url(const std::string& path) const;
    /// How many requests have been answered.
    [[nodiscard]] std::uint64_t requests() const { return m_requests; }

private:
    void acceptConnections();
    void serve(int connection);

    std::uint16_t m_port = 0;
    int m_listener;
    std::atomic<std::uint64_t> m_requests = 0;
    std::vector<std::thread> m_threads;
    std::thread m_acceptor;
};

} // namespace kova::benchmarks
