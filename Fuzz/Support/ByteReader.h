// Takes a fuzzer's input apart: small numbers first, texts by a length that stands before them. At the end of the input
// everything is zero and empty.

#pragma once

#include <cstdint>
#include <string_view>

namespace kova::fuzz {

class ByteReader {
public:
    explicit ByteReader(std::string_view bytes)
        : m_rest(bytes)
    {
    }

    [[nodiscard]] bool isAtEnd() const { return m_rest.empty(); }

    std::uint8_t byte()
    {
        const auto taken = bytes(1);
        return taken.empty() ? std::uint8_t {0} : static_cast<std::uint8_t>(taken[0]);
    }

    std::int64_t integer()
    {
        std::uint64_t value = 0;
        for (int index = 0; index < 8; ++index)
            value = value << 8U | byte();
        return static_cast<std::int64_t>(value);
    }

    std::string_view bytes(std::size_t count)
    {
        const auto taken = m_rest.substr(0, count);
        m_rest.remove_prefix(taken.size());
        return taken;
    }

    /// As many bytes as the next byte says.
    std::string_view counted() { return bytes(byte()); }

private:
    std::string_view m_rest;
};

} // namespace kova::fuzz
