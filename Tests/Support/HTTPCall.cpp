#include "Tests/Support/HTTPCall.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <utility>

namespace kova::tests {

struct HTTPCall::State {
    std::promise<HTTPOutcome> promise;
    std::shared_future<HTTPOutcome> outcome = promise.get_future();
    std::atomic<int> completions = 0;
};

std::string HTTPOutcome::summary() const
{
    if (error)
        return body || response ? "an error with a reply" : error.message();
    if (!body || !response)
        return "no error and no reply";
    return std::to_string(response->statusCode) + " " + std::string {body->text()};
}

std::string summary(URLError error)
{
    return make_error_code(error).message();
}

URLRequest makeRequest(URL url, std::string method, std::optional<std::string> body, HTTPHeaderFields fields)
{
    URLRequest request {.url = std::move(url)};
    request.timeoutInterval = std::chrono::seconds {30};
    request.httpMethod = std::move(method);
    request.allHTTPHeaderFields = std::move(fields);
    if (body)
        request.httpBody = Data {std::move(*body)};
    return request;
}

HTTPCall::HTTPCall(URLSession& session, URLRequest request)
    : m_state(std::make_shared<State>())
    , m_task(session.dataTask(std::move(request), [state = m_state, &session](auto body, auto response, auto error) {
        if (++state->completions == 1)
            state->promise.set_value({std::move(body), std::move(response), error, session.isOnCompletionThread()});
    }))
{
}

HTTPCall& HTTPCall::start()
{
    m_task->resume();
    return *this;
}

HTTPOutcome HTTPCall::wait() const
{
    if (m_state->outcome.wait_for(std::chrono::seconds {10}) == std::future_status::ready)
        return m_state->outcome.get();
    ADD_FAILURE() << "the task did not complete";
    return {.error = std::make_error_code(std::errc::timed_out)};
}

int HTTPCall::completions() const
{
    return m_state->completions;
}

HTTPOutcome fetch(URLSession& session, URLRequest request)
{
    return HTTPCall {session, std::move(request)}.start().wait();
}

} // namespace kova::tests
