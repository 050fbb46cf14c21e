#include "Fuzz/Support/InstantSession.h"

#include <utility>

namespace kova::fuzz {

class InstantSession::Task final : public URLSessionDataTask {
public:
    Task(std::shared_ptr<Requests> requests, URLRequest request, DataTaskCompletion completion)
        : m_requests(std::move(requests))
        , m_request(std::move(request))
        , m_completion(std::move(completion))
    {
    }

    void resume() override
    {
        auto completion = std::exchange(m_completion, nullptr);
        if (!completion)
            return;
        {
            const std::lock_guard lock {m_requests->mutex};
            m_requests->list.push_back(m_request);
        }
        completion(Data {"{}"}, HTTPURLResponse {.url = m_request.url, .statusCode = 200}, {});
    }

    void cancel() override
    {
        if (auto completion = std::exchange(m_completion, nullptr))
            completion({}, {}, URLError::cancelled);
    }

private:
    std::shared_ptr<Requests> m_requests;
    URLRequest m_request;
    DataTaskCompletion m_completion;
};

std::shared_ptr<URLSessionDataTask> InstantSession::dataTask(URLRequest request, DataTaskCompletion completion)
{
    return std::make_shared<Task>(m_requests, std::move(request), std::move(completion));
}

std::vector<URLRequest> InstantSession::takeRequests()
{
    const std::lock_guard lock {m_requests->mutex};
    return std::exchange(m_requests->list, {});
}

} // namespace kova::fuzz
