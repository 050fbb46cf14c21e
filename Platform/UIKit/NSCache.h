// A cache in memory, bounded by what its objects cost: those that were used least recently go first.
//
// Threads: any. Objects that are evicted are destroyed with no lock held.

#pragma once

#include <cstddef>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace kova {

template <typename Key, typename Object> class NSCache {
public:
    /// The object kept under the key, null when there is none.
    [[nodiscard]] std::shared_ptr<Object> object(const Key& key)
    {
        const std::lock_guard lock {m_mutex};
        const auto found = m_places.find(key);
        if (found == m_places.end())
            return nullptr;
        m_entries.splice(m_entries.begin(), m_entries, found->second);
        return found->second->object;
    }

    /// An object that costs more than the limit is not kept.
    void setObject(std::shared_ptr<Object> object, Key key, std::size_t cost = 0)
    {
        Entries evicted;
        const std::lock_guard lock {m_mutex};
        if (const auto before = m_places.find(key); before != m_places.end())
            evict(before->second, evicted);
        m_entries.push_front({.key = key, .object = std::move(object), .cost = cost});
        m_places.emplace(std::move(key), m_entries.begin());
        m_totalCost += cost;
        evictBeyondLimit(evicted);
    }

    void removeAllObjects()
    {
        Entries evicted;
        const std::lock_guard lock {m_mutex};
        m_places.clear();
        m_totalCost = 0;
        evicted.swap(m_entries);
    }

    /// The cost that all objects may have together; 0, the default, sets no limit. Takes effect at once.
    void setTotalCostLimit(std::size_t limit)
    {
        Entries evicted;
        const std::lock_guard lock {m_mutex};
        m_totalCostLimit = limit;
        evictBeyondLimit(evicted);
    }

private:
    struct Entry {
        Key key;
        std::shared_ptr<Object> object;
        std::size_t cost;
    };
    using Entries = std::list<Entry>;

    void evict(typename Entries::iterator entry, Entries& evicted)
    {
        m_totalCost -= entry->cost;
        m_places.erase(entry->key);
        evicted.splice(evicted.end(), m_entries, entry);
    }

    void evictBeyondLimit(Entries& evicted)
    {
        while (m_totalCostLimit != 0 && m_totalCost > m_totalCostLimit) {
            // The newest goes before others do when nothing else makes it fit.
            const auto newest = m_entries.begin();
            evict(newest->cost > m_totalCostLimit ? newest : std::prev(m_entries.end()), evicted);
        }
    }

    std::mutex m_mutex;
    /// The most recently used first.
    Entries m_entries;
    std::map<Key, typename Entries::iterator> m_places;
    std::size_t m_totalCost = 0;
    std::size_t m_totalCostLimit = 0;
};

} // namespace kova
