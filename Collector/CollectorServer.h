// The web service itself: takes requests on 127.0.0.1, logs them, answers them as the options say.
//
// Threads: one. run() serves every connection on its caller's thread.

#pragma once

#include "Collector/CollectorOptions.h"
#include "Collector/RequestLog.h"

#include <cstdint>
#include <expected>
#include <memory>
#include <system_error>

namespace kova::collector {

class CollectorServer {
public:
    /// From here on SIGTERM and SIGINT end run() instead of the process, also when they come before it.
    /// `log` may be null: then nothing is logged. Otherwise it must outlive the server.
    CollectorServer(const CollectorOptions& options, RequestLog* log);
    ~CollectorServer();
    CollectorServer(const CollectorServer&) = delete;
    CollectorServer& operator=(const CollectorServer&) = delete;

    /// The port that is listened on. From here on clients can connect; they are served once run() is under way.
    [[nodiscard]] std::expected<std::uint16_t, std::error_code> bind();

    /// Serves until SIGTERM or SIGINT.
    void run();

private:
    class Implementation;
    std::unique_ptr<Implementation> m_implementation;
};

} // namespace kova::collector
