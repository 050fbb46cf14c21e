// A list with value semantics whose copies share structure, chunk by chunk.
//
// Copying costs one reference count whatever the length; appending to a copy, or dropping elements from its front,
// copies the chunk pointers and at most one chunk. That is what lets a long stored array be read, extended by one and
// written back at the cost of a short one: the writer sees by identity which chunks are the same.
// Threads: like a standard container; two lists that share chunks may be used from two threads.

#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <memory>
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
        return m_spine->chunks[position / chunkSize]->elements[position % chunkSize];
    }
    [[nodiscard]] Iterator begin() const { return {this, 0}; }
    [[nodiscard]] Iterator end() const { return {this, size()}; }

    void append(T element)
    {
        auto& spine = ownSpine();
        if ((spine.skipped + spine.size) % chunkSize == 0) {
            spine.chunks.push_back(std::make_shared<Chunk>());
            spine.chunks.back()->elements.reserve(spine.chunks.size() == 1 ? 1 : chunkSize);
        } else if (spine.chunks.back()->isShared) {
            auto copy = std::make_shared<Chunk>();
            const auto& original = spine.chunks.back()->elements;
            copy->elements.reserve(chunkSize);
            copy->elements.assign(original.begin(), original.end());
            spine.chunks.back() = std::move(copy);
        }
        spine.chunks.back()->elements.push_back(std::move(element));
        spine.chunks.back()->satisfied = nullptr;
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

    /// Whether the predicate, a pure function, holds for every element. Chunks remember the last predicate that held
    /// for all they have, so that asking again of a long list, or of one that shares most of it, is cheap.
    [[nodiscard]] bool allSatisfy(bool (*predicate)(const T&)) const
    {
        for (std::size_t index = 0; index < size();) {
            const auto position = m_spine->skipped + index;
            const auto& chunk = *m_spine->chunks[position / chunkSize];
            const auto next = index + std::min(chunkSize - position % chunkSize, size() - index);
            if (chunk.satisfied != predicate) {
                for (auto element = index; element < next; ++element) {
                    if (!predicate((*this)[element]))
                        return false;
                }
                // Of a first chunk that is partly skipped, only the rest was looked at.
                if (position % chunkSize == 0)
                    chunk.satisfied = predicate;
            }
            index = next;
        }
        return true;
    }

    friend bool operator==(const SharedList& left, const SharedList& right)
    {
        return left.size() == right.size() && left.matchingPrefix(right) == left.size();
    }

private:
    static constexpr std::size_t chunkSize = 128;

    // What was ever shared is never written again, even if the others have let go of it since: a reference count of one
    // does not say that their last reads are over.
    struct Chunk {
        std::vector<T> elements;
        std::atomic<bool> isShared = false;
        /// A predicate that holds for all elements. Several threads may find that out at once.
        mutable std::atomic<bool (*)(const T&)> satisfied = nullptr;
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
            if (!chunks.empty())
                chunks.back()->isShared = true;
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
