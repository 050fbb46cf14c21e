// An immutable byte buffer that is shared, not copied: a copy of a Data is one reference count.
//
// Bodies, stored values and replies travel as Data, so that handing one from the network thread to a store costs
// nothing. Threads: any; the bytes never change.

#pragma once

#include "Platform/Foundation/Export.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kova {

class KOVA_EXPORT Data {
public:
    Data() = default;
    explicit Data(std::string bytes);

    /// The bytes of a regular file of at most `maximumSize` bytes. None when there is no such file, when it cannot be
    /// read, is larger, or is not a regular file (a pipe would block the reader).
    [[nodiscard]] static std::optional<Data> contentsOf(const std::filesystem::path& file, std::size_t maximumSize);

    [[nodiscard]] std::size_t size() const { return text().size(); }
    [[nodiscard]] bool empty() const { return text().empty(); }

    /// The bytes as characters; nothing says that they are valid UTF-8.
    [[nodiscard]] std::string_view text() const { return m_bytes ? std::string_view {*m_bytes} : std::string_view {}; }
    [[nodiscard]] std::span<const std::uint8_t> bytes() const
    {
        return {reinterpret_cast<const std::uint8_t*>(text().data()), size()};
    }

    /// Whether both are the same buffer in memory: a cheap "certainly equal".
    [[nodiscard]] bool isIdenticalTo(const Data& other) const { return m_bytes == other.m_bytes; }

    friend bool operator==(const Data& left, const Data& right)
    {
        return left.isIdenticalTo(right) || left.text() == right.text();
    }

private:
    std::shared_ptr<const std::string> m_bytes;
};

/// The bytes as text when they are valid UTF-8.
KOVA_EXPORT [[nodiscard]] std::optional<std::string> decodedText(const Data& data);

} // namespace kova
