// A list with value semantics whose copies share structure, chunk by chunk.
//
// Copying costs one reference count whatever the length; appending to a copy, or dropping elements from its front,
// copies the chunk pointers. The first of several copies to append does so in the shared chunk, behind what the others
// see of it; a later one copies the chunk. That is what lets a long stored array be read, extended by one and written
// back at the cost of a short one: the writer sees by identity which chunks are the same.
// Threads: like a standard container; two lists that share chunks may be used from two threads.

#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

namespace kova {

template <typename T> class SharedList {
public:
    class Iterator {
    public:
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using reference = const T&;
        using pointer = const T*;
        using iterator_category = std::forward_iterator_tag;

        Iterator() = default;
        Iterator(const SharedList* list, std::size_t index)
            : m_list(list)
            , m_index(index)
        {
        }

        reference operator*() const { return (*m_list)[m_index]; }
        pointer operator->() const { return &(*m_list)[m_index]; }
        Iterator& operator++()
        {
            ++m_index;
            return *this;
        }
        Iterator operator++(int)
        {
            auto before = *this;
            ++m_index;
            return before;
        }
        friend bool operator==(const Iterator&, const Iterator&) = default;

    private:
        const SharedList* m_list = nullptr;
        std::size_t m_index = 0;
    };

    SharedList() = default;
    SharedList(const SharedList& other)
        : m_spine(other.share())
    {
    }
    SharedList& operator=(const SharedList& other)
    {
        if (this != &other)
            m_spine = other.share();
        return *this;
    }
    SharedList(SharedList&&) noexcept = default;
    SharedList& operator=(SharedList&&) noexcept = default;
    ~SharedList() = default;
    SharedList(std::initializer_list<T> elements)
        : SharedList(std::vector<T> {elements})
    {
    }
    explicit SharedList(std::vector<T> elements)
    {
        for (auto& element : elements)
            append(std::move(element));
    }

    [[nodiscard]] std::size_t size() const { return m_spine ? m_spine->size : 0; }
    [[nodiscard]] bool empty() const { return size() == 0; }
    [[nodiscard]] const T& operator[](std::size_t index) const
    {
        const auto position = m_spine->skipped + index;
        return (*m_spine->chunks[position / chunkSize])[position % chunkSize];
    }
    [[nodiscard]] Iterator begin() const { return {this, 0}; }
    [[nodiscard]] Iterator end() const { return {this, size()}; }

    void append(T element)
    {
        auto& spine = ownSpine();
        const auto position = (spine.skipped + spine.size) % chunkSize;
        // A short list takes little room; only its first chunk grows.
        if (position == 0)
            spine.chunks.push_back(std::make_shared<Chunk>(spine.chunks.empty() ? 1 : chunkSize));
        if (!spine.chunks.back()->append(position, element)) {
            spine.chunks.back() = std::make_shared<Chunk>(*spine.chunks.back(), position);
            spine.chunks.back()->append(position, element);
        }
        ++spine.size;
    }

    /// Drops the first `count` elements (all, when there are fewer).
    void removeFirst(std::size_t count = 1)
    {
        if (count >= size()) {
            m_spine.reset();
            return;
        }
        auto& spine = ownSpine();
        spine.skipped += count;
        spine.size -= count;
        spine.chunks.erase(spine.chunks.begin(), spine.chunks.begin() + spine.skipped / chunkSize);
        spine.skipped %= chunkSize;
    }

    /// How many leading elements equal those of `other` from its element `offset` on. Chunks that both lists share are
    /// recognised without looking into them.
    [[nodiscard]] std::size_t matchingPrefix(const SharedList& other, std::size_t offset = 0) const
    {
        if (offset >= other.size())
            return 0;
        const auto limit = std::min(size(), other.size() - offset);
        std::size_t index = 0;
        while (index < limit) {
            const auto mine = m_spine->skipped + index;
            const auto theirs = other.m_spine->skipped + offset + index;
            if (mine % chunkSize == theirs % chunkSize
                && m_spine->chunks[mine / chunkSize] == other.m_spine->chunks[theirs / chunkSize]) {
                index += chunkSize - mine % chunkSize;
                continue;
            }
            if (!((*this)[index] == other[offset + index]))
                return index;
            ++index;
        }
        return limit;
    }

    /// Returns true if the predicate, a pure function, holds for every element. A chunk remembers for how many elements
    /// the first predicate held, so asking again about a long list, or one that shares most of it, is cheap.
    [[nodiscard]] bool allSatisfy(bool (*predicate)(const T&)) const
    {
        for (std::size_t index = 0; index < size();) {
            const auto position = m_spine->skipped + index;
            const auto begin = position % chunkSize;
            const auto end = std::min(chunkSize, begin + size() - index);
            if (!m_spine->chunks[position / chunkSize]->allSatisfy(predicate, begin, end))
                return false;
            index += end - begin;
        }
        return true;
    }

    friend bool operator==(const SharedList& left, const SharedList& right)
    {
        return left.size() == right.size() && left.matchingPrefix(right) == left.size();
    }

private:
    static constexpr std::size_t chunkSize = 128;

    // Elements are never changed or moved once they are there, so lists may read them while another one appends.
    class Chunk {
    public:
        explicit Chunk(std::size_t capacity)
            : m_capacity(capacity)
            , m_storage(std::make_unique_for_overwrite<std::byte[]>(capacity * sizeof(T)))
        {
        }
        /// Copies the first `count` elements, and has room for as many more.
        Chunk(const Chunk& other, std::size_t count)
            : Chunk(std::min(chunkSize, 2 * count))
        {
            for (; m_used < count; ++m_used)
                std::construct_at(place(m_used), other[m_used]);
        }
        ~Chunk() { std::destroy_n(place(0), m_used.load()); }
        Chunk(const Chunk&) = delete;
        Chunk& operator=(const Chunk&) = delete;

        [[nodiscard]] const T& operator[](std::size_t index) const
        {
            return *std::launder(reinterpret_cast<const T*>(m_storage.get() + index * sizeof(T)));
        }

        /// Takes the element as the one at `position`; false, with the element left as it is, when there is one already
        /// or no room.
        bool append(std::size_t position, T& element)
        {
            static_assert(std::is_nothrow_move_constructible_v<T>);
            auto used = position;
            if (position >= m_capacity || !m_used.compare_exchange_strong(used, position + 1))
                return false;
            std::construct_at(place(position), std::move(element));
            return true;
        }

        [[nodiscard]] bool allSatisfy(bool (*predicate)(const T&), std::size_t begin, std::size_t end) const
        {
            bool (*remembered)(const T&) = nullptr;
            m_predicate.compare_exchange_strong(remembered, predicate);
            const bool remembers = !remembered || remembered == predicate;
            const auto known = remembers ? m_satisfied.load() : 0;
            for (auto index = std::max(begin, known); index < end; ++index) {
                if (!predicate((*this)[index]))
                    return false;
            }
            // Elements before `begin` are in the list no more, and may not have been looked at.
            if (remembers && begin <= known && known < end)
                m_satisfied = end;
            return true;
        }

    private:
        [[nodiscard]] T* place(std::size_t index) { return reinterpret_cast<T*>(m_storage.get() + index * sizeof(T)); }

        const std::size_t m_capacity;
        const std::unique_ptr<std::byte[]> m_storage;
        std::atomic<std::size_t> m_used = 0;
        /// The first predicate that was asked, and for how many elements from the first on it holds.
        mutable std::atomic<bool (*)(const T&)> m_predicate = nullptr;
        mutable std::atomic<std::size_t> m_satisfied = 0;
    };

    /// All chunks but the last are full; the first `skipped` elements of the first one are no longer in the list.
    struct Spine {
        std::vector<std::shared_ptr<Chunk>> chunks;
        std::size_t skipped = 0;
        std::size_t size = 0;
        std::atomic<bool> isShared = false;

        Spine() = default;
        Spine(const Spine& other)
            : chunks(other.chunks)
            , skipped(other.skipped)
            , size(other.size)
        {
        }
    };

    [[nodiscard]] std::shared_ptr<Spine> share() const
    {
        if (m_spine)
            m_spine->isShared = true;
        return m_spine;
    }

    /// The spine, copied first when another list shares it.
    Spine& ownSpine()
    {
        if (!m_spine)
            m_spine = std::make_shared<Spine>();
        else if (m_spine->isShared)
            m_spine = std::make_shared<Spine>(*m_spine);
        return *m_spine;
    }

    std::shared_ptr<Spine> m_spine;
};

} // namespace kova
