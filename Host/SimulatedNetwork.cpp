#include "Host/SimulatedNetwork.h"

#include <atomic>
#include <map>

namespace kova::host {

class SimulatedNetwork::Target final : public SCNetworkReachability, public std::enable_shared_from_this<Target> {
public:
    explicit Target(SCNetworkReachabilityFlags flags)
        : m_flags(flags)
    {
    }

    bool setCallback(SCNetworkReachabilityCallBack callback, SCNetworkReachabilityContext context) override
    {
        const std::lock_guard lock {m_mutex};
        m_callback = callback;
        m_context = std::move(context);
        return true;
    }

    bool setDispatchQueue(std::shared_ptr<DispatchQueue> queue) override
    {
        const std::lock_guard lock {m_mutex};
        m_queue.swap(queue);
        return true;
    }

    [[nodiscard]] std::optional<SCNetworkReachabilityFlags> flags() override { return m_flags; }

    void change(SCNetworkReachabilityFlags flags)
    {
        m_flags = flags;
        const std::lock_guard lock {m_mutex};
        if (m_queue && m_callback)
            m_queue->async([target = weak_from_this(), flags] { tell(target, flags); });
    }

private:
    // On the target's queue; a callback that was removed meanwhile is not called.
    static void tell(const std::weak_ptr<Target>& weak, SCNetworkReachabilityFlags flags)
    {
        const auto target = weak.lock();
        if (!target)
            return;
        SCNetworkReachabilityCallBack callback = nullptr;
        std::weak_ptr<void> info;
        {
            const std::lock_guard lock {target->m_mutex};
            callback = target->m_callback;
            info = target->m_context.info;
        }
        if (callback)
            callback(*target, flags, info);
    }

    std::atomic<SCNetworkReachabilityFlags> m_flags;
    std::mutex m_mutex;
    SCNetworkReachabilityCallBack m_callback = nullptr;
    SCNetworkReachabilityContext m_context;
    std::shared_ptr<DispatchQueue> m_queue;
};

bool SimulatedNetwork::setStatus(std::string_view status)
{
    static const std::map<std::string_view, SCNetworkReachabilityFlags> known {
        {"offline", 0},
        {"wifi", kSCNetworkReachabilityFlagsReachable},
        {"wwan", kSCNetworkReachabilityFlagsReachable | kSCNetworkReachabilityFlagsIsWWAN},
    };
    const auto found = known.find(status);
    if (found == known.end())
        return false;
    std::vector<std::shared_ptr<Target>> targets;
    {
        const std::lock_guard lock {m_mutex};
        if (m_flags == found->second)
            return true;
        m_flags = found->second;
        for (const auto& weak : m_targets) {
            if (auto target = weak.lock())
                targets.push_back(std::move(target));
        }
    }
    for (const auto& target : targets)
        target->change(found->second);
    return true;
}

std::shared_ptr<SCNetworkReachability> SimulatedNetwork::createWithName(const std::string&)
{
    const std::lock_guard lock {m_mutex};
    auto target = std::make_shared<Target>(m_flags);
    std::erase_if(m_targets, [](const auto& weak) { return weak.expired(); });
    m_targets.push_back(target);
    return target;
}

} // namespace kova::host
