// A web server on 127.0.0.1 that takes requests and never answers.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kova::benchmarks {

class SilentServer {
public:
    SilentServer();
    ~SilentServer();
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;

    /// "http://127.0.0.1:PORT" and the path.
    [[nodiscard]] std::string url(const std::string& path) const;

    /// Returns when so many more connections have each begun a request.
    void takeRequests(int count);

private:
    std::uint16_t m_port = 0;
    int m_listener;
    std::vector<int> m_connections;
};

} // namespace kova::benchmarks
