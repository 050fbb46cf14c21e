// One task of the curl session, as its user holds it. It is a record: all of its life is the loop's business.

#pragma once

#include "Platform/Foundation/Activity.h"
#include "Platform/Foundation/URLSession.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace kova {

class CurlExchange;
class CurlLoop;

class CurlTask final : public URLSessionDataTask, public std::enable_shared_from_this<CurlTask> {
public:
    CurlTask(std::shared_ptr<CurlLoop> loop, URLRequest request, DataTaskCompletion completion);
    ~CurlTask() override;
    CurlTask(const CurlTask&) = delete;
    CurlTask& operator=(const CurlTask&) = delete;

    void resume() override;
    void cancel() override;

private:
    friend class CurlLoop;

    enum class Stage { created, started, cancelled, completed };

    const std::shared_ptr<CurlLoop> m_loop;

    /// Guarded by the loop's mutex.
    Stage m_stage = Stage::created;

    /// The members below belong to the maker until the task starts, then to the transfer thread, and from the end of
    /// the exchange on to the completion thread.
    URLRequest m_request;
    DataTaskCompletion m_completion;
    std::optional<Activity> m_activity {};
    std::chrono::steady_clock::time_point m_deadline {};
    /// Where the request goes to; see CurlHostQueue.
    std::string m_host {};
    /// Null unless the request is with curl.
    std::unique_ptr<CurlExchange> m_exchange {};
};

} // namespace kova
