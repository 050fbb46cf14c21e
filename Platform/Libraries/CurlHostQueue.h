// Which tasks wait for one of the few connections that a host may have, first come, first served.
//
// curl has a limit of its own for that (CURLMOPT_MAX_HOST_CONNECTIONS), but version 7.88 now and then forgets those
// that wait while every connection is idle. Here a request stands for a connection: what is not with curl opens none.
// The host that a redirect leads to is not counted.
// Threads: the loop's.

#pragma once

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kova {

class CurlTask;

class CurlHostQueue {
public:
    explicit CurlHostQueue(std::size_t places)
        : m_places(places)
    {
    }

    /// Scheme, host name and port of an absolute URL of a web server, for two URLs the same when they lead to the same
    /// place. None for any other URL.
    [[nodiscard]] static std::optional<std::string> host(std::string_view url);

    /// Lets the task wait for a place.
    void add(const std::string& host, std::shared_ptr<CurlTask> task);

    /// Gives a free place to the task that has waited longest; null when there is no place or nobody waits.
    [[nodiscard]] std::shared_ptr<CurlTask> next(const std::string& host);

    /// Gives back a place that next() gave.
    void leave(const std::string& host);

    /// The task does not wait any more.
    void remove(const std::string& host, const CurlTask& task);

    void clear() { m_hosts.clear(); }

private:
    struct Host {
        std::size_t taken = 0;
        std::deque<std::shared_ptr<CurlTask>> waiting {};
    };

    const std::size_t m_places;
    std::map<std::string, Host> m_hosts;
};

} // namespace kova
