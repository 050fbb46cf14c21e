// A cache in memory. Nothing is evicted on its own; threads: any.

#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace kova {

template <typename Key, typename Object> class NSCache {
public:
    /// The object kept under the key, null when there is none.
    [[nodiscard]] std::shared_ptr<Object> object(const Key& key) const
    {
        const std::lock_guard lock {m_mutex};
        const auto found = m_objects.find(key);
        return found == m_objects.end() ? nullptr : found->second;
    }

    void setObject(std::shared_ptr<Object> object, Key key)
    {
        const std::lock_guard lock {m_mutex};
        m_objects.insert_or_assign(std::move(key), std::move(object));
    }

    void removeAllObjects()
    {
        const std::lock_guard lock {m_mutex};
        m_objects.clear();
    }

private:
    mutable std::mutex m_mutex;
    std::map<Key, std::shared_ptr<Object>> m_objects;
};

} // namespace kova
