#include "Collector/Base64.h"

#include <algorithm>
#include <cstdint>

namespace kova::collector {

std::string base64(std::string_view bytes)
{
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    while (!bytes.empty()) {
        const auto group = bytes.substr(0, 3);
        std::uint32_t bits = 0;
        for (std::size_t index = 0; index < 3; ++index)
            bits = (bits << 8) | (index < group.size() ? static_cast<std::uint8_t>(group[index]) : 0U);
        for (std::size_t index = 0; index < 4; ++index)
            text += index <= group.size() ? alphabet[(bits >> (18 - 6 * index)) & 0x3F] : '=';
        bytes.remove_prefix(group.size());
    }
    return text;
}

} // namespace kova::collector
