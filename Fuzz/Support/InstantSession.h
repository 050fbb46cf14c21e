// An HTTP session without a network: every request is answered before resume() returns, on the calling thread, with
// status 200 and an empty JSON object.
//
// Threads: any.

#pragma once

#include "Platform/Foundation/URLSession.h"

#include <memory>
#include <mutex>
#include <vector>

namespace kova::fuzz {

class InstantSession final : public URLSession {
public:
    [[nodiscard]] std::shared_ptr<URLSessionDataTask> dataTask(
        URLRequest request, DataTaskCompletion completion) override;
    void invalidateAndCancel() override { }
    [[nodiscard]] bool isOnCompletionThread() const override { return false; }

    /// The requests since the last call, in order.
    [[nodiscard]] std::vector<URLRequest> takeRequests();

private:
    class Task;

    /// Shared with the tasks.
    struct Requests {
        std::mutex mutex;
        std::vector<URLRequest> list;
    };

    std::shared_ptr<Requests> m_requests = std::make_shared<Requests>();
};

} // namespace kova::fuzz
