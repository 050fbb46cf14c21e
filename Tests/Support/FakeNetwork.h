// A reachability service of which a test says every flag, and which operation fails.

#pragma once

#include "Platform/SystemConfiguration/NetworkReachability.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kova::tests {

class FakeNetwork final : public NetworkReachability {
public:
    static constexpr SCNetworkReachabilityFlags wifi = kSCNetworkReachabilityFlagsReachable;
    static constexpr SCNetworkReachabilityFlags wwan
        = kSCNetworkReachabilityFlagsReachable | kSCNetworkReachabilityFlagsIsWWAN;

    class Target final : public SCNetworkReachability {
    public:
        explicit Target(FakeNetwork& network)
            : m_network(&network)
        {
        }

        bool setCallback(SCNetworkReachabilityCallBack newCallback, SCNetworkReachabilityContext newContext) override
        {
            callback = newCallback;
            context = std::move(newContext);
            return !m_network->refusesCallback;
        }
        bool setDispatchQueue(std::shared_ptr<DispatchQueue> newQueue) override
        {
            queue = std::move(newQueue);
            return !m_network->refusesQueue;
        }
        [[nodiscard]] std::optional<SCNetworkReachabilityFlags> flags() override
        {
            ++m_network->reads;
            if (m_network->cannotBeRead)
                return std::nullopt;
            return m_network->flags.load();
        }

        SCNetworkReachabilityCallBack callback = nullptr;
        SCNetworkReachabilityContext context;
        std::shared_ptr<DispatchQueue> queue;

    private:
        FakeNetwork* m_network;
    };

    [[nodiscard]] std::shared_ptr<SCNetworkReachability> createWithName(const std::string& name) override
    {
        if (refusesNames)
            return nullptr;
        names.push_back(name);
        if (whenCreated)
            whenCreated();
        auto target = std::make_shared<Target>(*this);
        lastTarget = target;
        return target;
    }

    /// The platform says that something may have changed: on the target's queue, as it does.
    void announce() const
    {
        if (const auto target = lastTarget.lock(); target && target->queue) {
            target->queue->async([target] {
                if (target->callback)
                    target->callback(*target, 0, target->context.info);
            });
        }
    }

    void change(SCNetworkReachabilityFlags newFlags)
    {
        flags = newFlags;
        announce();
    }

    std::atomic<SCNetworkReachabilityFlags> flags = 0;
    std::atomic<int> reads = 0;
    std::atomic<bool> cannotBeRead = false;
    bool refusesNames = false;
    bool refusesCallback = false;
    bool refusesQueue = false;
    std::vector<std::string> names;
    /// Runs while a target is made, if there is one.
    std::function<void()> whenCreated;
    std::weak_ptr<Target> lastTarget;
};

} // namespace kova::tests
