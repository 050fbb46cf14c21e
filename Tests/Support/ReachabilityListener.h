// A target of a reachability service under test, with callback and queue, and everything that it was told.

#pragma once

#include "Platform/SystemConfiguration/NetworkReachability.h"
#include "Tests/Support/Waiting.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kova::tests {

class ReachabilityListener {
public:
    /// `runLoop` runs the event loop that the service needs, if any, until it has nothing to do.
    ReachabilityListener(NetworkReachability& service, const std::string& name, std::function<void()> runLoop = {})
        : m_target(service.createWithName(name))
        , m_runLoop(std::move(runLoop))
    {
        EXPECT_TRUE(m_target->setCallback(&ReachabilityListener::told, {.version = 0, .info = m_record}));
        EXPECT_TRUE(m_target->setDispatchQueue(m_record->queue));
    }

    SCNetworkReachability& target() { return *m_target; }
    DispatchQueue& queue() { return *m_record->queue; }
    std::shared_ptr<SCNetworkReachability> release() { return std::move(m_target); }

    /// Waits until something is told that has not been returned before; none when nothing is in time.
    std::optional<SCNetworkReachabilityFlags> next()
    {
        const auto isThere = comesTrue([this] {
            if (m_runLoop)
                m_runLoop();
            return all().size() > m_seen;
        });
        return isThere ? std::optional {all()[m_seen++]} : std::nullopt;
    }

    std::vector<SCNetworkReachabilityFlags> all()
    {
        std::vector<SCNetworkReachabilityFlags> flags;
        queue().sync([&] { flags = m_record->told; });
        return flags;
    }

private:
    /// Used on its queue alone.
    struct Record {
        std::shared_ptr<DispatchQueue> queue = DispatchQueue::create("listener");
        std::vector<SCNetworkReachabilityFlags> told;
    };

    static void told(
        SCNetworkReachability& /*target*/, SCNetworkReachabilityFlags flags, const std::weak_ptr<void>& info)
    {
        if (const auto record = std::static_pointer_cast<Record>(info.lock())) {
            EXPECT_TRUE(record->queue->isCurrent());
            record->told.push_back(flags);
        }
    }

    std::shared_ptr<Record> m_record = std::make_shared<Record>();
    std::shared_ptr<SCNetworkReachability> m_target;
    std::function<void()> m_runLoop;
    std::size_t m_seen = 0;
};

} // namespace kova::tests
