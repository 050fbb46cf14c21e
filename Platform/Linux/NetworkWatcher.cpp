#include "Platform/Linux/NetworkWatcher.h"

#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/ThreadHook.h"

#include <linux/rtnetlink.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <span>
#include <string>
#include <system_error>
#include <utility>

namespace kova {

namespace {

constexpr std::chrono::milliseconds quietTime {50};
constexpr std::chrono::milliseconds longestBurst {500};

} // namespace

NetworkWatcher::Clock::time_point NetworkWatcher::Burst::end() const
{
    return std::min(quietSince + quietTime, begin + longestBurst);
}

NetworkWatcher::NetworkWatcher(std::string nameServers)
    // Rules decide between routing tables, so a change of theirs may change the way as well.
    : m_changes({RTNLGRP_LINK, RTNLGRP_IPV4_IFADDR, RTNLGRP_IPV6_IFADDR, RTNLGRP_IPV4_ROUTE, RTNLGRP_IPV6_ROUTE,
          RTNLGRP_IPV4_RULE, RTNLGRP_IPV6_RULE})
    , m_resolver(std::move(nameServers))
{
    // The routes of a next-hop object go with it, and not a word of them is said. Old kernels have none.
    m_changes.join(RTNLGRP_NEXTHOP);
    if (!m_changes.isOpen() || !m_wake.isOpen())
        return;
    try {
        m_thread = std::thread {[this] { run(); }};
        m_isWatching = true;
    } catch (const std::system_error& failure) {
        complain(std::string {"KovaSDK: no thread can be started for the network's changes, which go unnoticed: "}
            + failure.what());
    }
}

NetworkWatcher::~NetworkWatcher()
{
    end();
}

void NetworkWatcher::add(const std::shared_ptr<RouteTarget>& target)
{
    if (!isWatching())
        return;
    {
        const std::lock_guard lock {m_mutex};
        if (m_isEnding)
            return;
        m_added.emplace_back(target);
    }
    m_wake.wake();
}

void NetworkWatcher::end()
{
    if (!isWatching())
        return;
    {
        const std::lock_guard lock {m_mutex};
        m_isEnding = true;
    }
    m_wake.wake();
    const std::lock_guard lock {m_threadMutex};
    if (m_thread.joinable())
        m_thread.join();
}

void NetworkWatcher::run()
{
    announceThread("Reachability");
    while (true) {
        {
            const std::lock_guard lock {m_mutex};
            if (m_isEnding)
                break;
        }
        takeAdded();
        if (m_burst && m_burst->end() <= Clock::now())
            networkChanged();
        wait();
    }
    m_resolver.restart();
}

void NetworkWatcher::wait()
{
    std::vector<pollfd> descriptors {{.fd = m_wake.descriptor(), .events = POLLIN, .revents = 0},
        {.fd = m_changes.descriptor(), .events = POLLIN, .revents = 0}};
    const auto own = descriptors.size();
    m_resolver.appendDescriptors(descriptors);
    if (poll(descriptors.data(), descriptors.size(), waitingTimeMs()) < 0)
        return;
    if (descriptors[0].revents != 0)
        m_wake.acknowledge();
    if (descriptors[1].revents != 0)
        hearMessages();
    m_resolver.process(std::span {descriptors}.subspan(own));
}

int NetworkWatcher::waitingTimeMs() const
{
    auto time = m_resolver.timeout();
    if (m_burst) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_burst->end() - Clock::now());
        time = std::min(time.value_or(left), left);
    }
    return time ? std::max(0, static_cast<int>(time->count())) : -1;
}

void NetworkWatcher::takeAdded()
{
    std::vector<std::weak_ptr<RouteTarget>> added;
    {
        const std::lock_guard lock {m_mutex};
        added.swap(m_added);
    }
    if (added.empty())
        return;
    std::erase_if(m_targets, [](const auto& target) { return target.expired(); });
    for (auto& weak : added) {
        if (const auto target = weak.lock())
            resolve(target);
        m_targets.push_back(std::move(weak));
    }
}

void NetworkWatcher::hearMessages()
{
    while (true) {
        const auto batch = m_changes.receive();
        // Lost messages are messages too. Any other error is the end of what there is to hear.
        if (!batch && batch.error() != ENOBUFS)
            return;
        const auto now = Clock::now();
        if (m_burst)
            m_burst->quietSince = now;
        else
            m_burst = Burst {.quietSince = now, .begin = now};
    }
}

void NetworkWatcher::networkChanged()
{
    m_burst.reset();
    // Another network may have other name servers, and questions asked over the old one may never be answered.
    m_resolver.restart();
    for (const auto& weak : m_targets) {
        if (const auto target = weak.lock()) {
            target->evaluate();
            resolve(target);
        }
    }
}

void NetworkWatcher::resolve(const std::shared_ptr<RouteTarget>& target)
{
    if (!target->name().isResolvable())
        return;
    m_resolver.resolve(target->name().text(), [weak = std::weak_ptr {target}](std::vector<HostAddress> addresses) {
        if (const auto resolved = weak.lock()) {
            resolved->setAddresses(std::move(addresses));
            resolved->evaluate();
        }
    });
}

} // namespace kova
