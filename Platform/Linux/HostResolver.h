// Looks up the addresses of host names over c-ares, inside somebody's poll loop.
//
// The system's own resolver calls cannot be interrupted; this one is dropped in mid-question when the process ends or
// the network changes. Threads: one, whose loop waits on the descriptors and then lets the resolver work. Completions
// run on it, at the latest in process(), possibly already in resolve().

#pragma once

#include "Platform/Posix/HostAddress.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

struct ares_channeldata;
struct pollfd;

namespace kova {

class HostResolver {
public:
    /// Gets the addresses in the order in which they should be tried; none when the name does not resolve.
    using Completion = std::function<void(std::vector<HostAddress>)>;

    /// `nameServers` are addresses with optional ports, separated by commas; when empty, the system's configuration is
    /// read at the first question, and again at the first one after each restart().
    explicit HostResolver(std::string nameServers);
    HostResolver(const HostResolver&) = delete;
    HostResolver& operator=(const HostResolver&) = delete;

    void resolve(const std::string& name, Completion completion);

    /// Drops all questions under way, without completing them.
    void restart();

    /// Adds what the loop has to wait for.
    void appendDescriptors(std::vector<pollfd>& descriptors) const;

    /// After how long the resolver wants to work even if no descriptor is ready; none when nothing is under way.
    [[nodiscard]] std::optional<std::chrono::milliseconds> timeout() const;

    /// Works on those of the descriptors that are ready, and on what has become overdue.
    void process(std::span<const pollfd> descriptors);

private:
    struct Close {
        void operator()(ares_channeldata* channel) const;
    };

    [[nodiscard]] bool open();
    void watch(int socket, bool reads, bool writes);

    const std::string m_nameServers;
    /// The poll events that each socket waits for. Outlives the channel, which takes its sockets back when it closes.
    std::map<int, short> m_events;
    std::unique_ptr<ares_channeldata, Close> m_channel;
};

} // namespace kova
