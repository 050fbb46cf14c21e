// The collector, run as a child of the test: the web services on loopback, and what they were sent.

#pragma once

#include "Platform/Foundation/Value.h"
#include "Tests/Support/Process.h"
#include "Tests/Support/TemporaryFolder.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kova::tests {

class Collector {
public:
    struct Request {
        std::string method;
        std::string path;
        Value::Dictionary headers;
        std::string body;
        /// The whole line of the log.
        Value line;

        /// The value of a header field, whatever the case of its name; null when there is none.
        [[nodiscard]] const std::string* header(std::string_view name) const;
    };

    /// Starts it with these options (a --log of its own is added) and waits until it accepts connections; throws
    /// std::runtime_error when it does not.
    explicit Collector(std::vector<std::string> options = {});

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// The address of a path, which begins with "/".
    [[nodiscard]] std::string url(std::string_view path) const;

    /// What has been logged so far, in order of arrival. Throws std::runtime_error when a line is not what it should
    /// be.
    [[nodiscard]] std::vector<Request> requests() const;

    /// Waits until so many requests are logged, and returns all there are; fewer when they did not come in time.
    [[nodiscard]] std::vector<Request> waitForRequests(
        std::size_t count, std::chrono::milliseconds timeout = Process::bound) const;

    /// Ends it as a user would, with SIGTERM, and returns how it ended. The log can still be read.
    [[nodiscard]] std::optional<ProcessEnd> stop();

    [[nodiscard]] Process& process() { return m_process; }
    [[nodiscard]] std::filesystem::path logFile() const { return m_folder.path() / "requests"; }
    [[nodiscard]] static std::filesystem::path executable();

private:
    TemporaryFolder m_folder;
    Process m_process;
    std::uint16_t m_port = 0;
};

} // namespace kova::tests
