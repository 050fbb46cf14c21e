#include "Platform/Libraries/CurlHostQueue.h"

#include <algorithm>
#include <utility>

namespace kova {

std::optional<std::string> CurlHostQueue::host(std::string_view url)
{
    // A user's name and password stand before the last "@".
    const auto begin = std::min(url.find("://"), url.size());
    auto authority = url.substr(begin, url.find_first_of("/?#", begin + 3) - begin);
    authority.remove_prefix(std::min<std::size_t>(3, authority.size()));
    authority.remove_prefix(authority.rfind('@') + 1);
    auto key = std::string {url.substr(0, begin)}.append("://").append(authority);
    std::ranges::transform(key, key.begin(),
        [](char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte; });

    for (const auto& [scheme, defaultPort] : {std::pair {"http://", ":80"}, std::pair {"https://", ":443"}}) {
        if (!key.starts_with(scheme) || authority.empty() || authority.starts_with(':'))
            continue;
        for (const std::string_view port : {defaultPort, ":"}) {
            if (key.ends_with(port))
                key.erase(key.size() - port.size());
        }
        return key;
    }
    return {};
}

void CurlHostQueue::add(const std::string& host, std::shared_ptr<CurlTask> task)
{
    m_hosts[host].waiting.push_back(std::move(task));
}

std::shared_ptr<CurlTask> CurlHostQueue::next(const std::string& host)
{
    const auto found = m_hosts.find(host);
    if (found == m_hosts.end() || found->second.waiting.empty() || found->second.taken == m_places)
        return nullptr;
    auto task = std::move(found->second.waiting.front());
    found->second.waiting.pop_front();
    ++found->second.taken;
    return task;
}

void CurlHostQueue::leave(const std::string& host)
{
    const auto found = m_hosts.find(host);
    if (found != m_hosts.end() && --found->second.taken == 0 && found->second.waiting.empty())
        m_hosts.erase(found);
}

void CurlHostQueue::remove(const std::string& host, const CurlTask& task)
{
    const auto found = m_hosts.find(host);
    if (found == m_hosts.end())
        return;
    auto& waiting = found->second.waiting;
    const auto place = std::ranges::find(waiting, &task, [](const auto& other) { return other.get(); });
    if (place != waiting.end())
        waiting.erase(place);
}

} // namespace kova
