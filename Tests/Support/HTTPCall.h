// One task of an HTTP session as a test sees it: start it, wait for what comes of it.
//
// Threads: the test's own; the completion leaves the outcome for it.

#pragma once

#include "Platform/Foundation/URLSession.h"

#include <chrono>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <system_error>

namespace kova::tests {

struct HTTPOutcome {
    std::optional<Data> body {};
    std::optional<HTTPURLResponse> response {};
    std::error_code error {};
    bool wasOnCompletionThread = false;

    /// "200 body" or the error's message, so that a whole outcome fits into one row of a table.
    [[nodiscard]] std::string summary() const;
};

/// A request with a time-out that a test may wait for, and the given method and body.
[[nodiscard]] URLRequest makeRequest(
    URL url, std::string method = "GET", std::optional<std::string> body = {}, HTTPHeaderFields fields = {});

/// What HTTPOutcome::summary() says of an error.
[[nodiscard]] std::string summary(URLError error);

class HTTPCall {
public:
    HTTPCall(URLSession& session, URLRequest request);

    HTTPCall& start();
    void cancel() { m_task->cancel(); }

    /// Lets go of the task, as a caller does that does not mean to cancel it.
    void drop() { m_task.reset(); }

    /// The outcome, waited for at most ten seconds; without one the test fails.
    [[nodiscard]] HTTPOutcome wait() const;

    [[nodiscard]] int completions() const;

private:
    struct State;
    std::shared_ptr<State> m_state;
    std::shared_ptr<URLSessionDataTask> m_task;
};

/// Starts a request and waits for its outcome.
[[nodiscard]] HTTPOutcome fetch(URLSession& session, URLRequest request);

} // namespace kova::tests
