#include "Collector/Thumbnail.h"

#include <cstdint>

namespace kova::collector {

namespace {

constexpr std::uint32_t side = 64;

void appendBigEndian(std::string& bytes, std::uint32_t number)
{
    for (const int shift : {24, 16, 8, 0})
        bytes += static_cast<char>((number >> shift) & 0xFF);
}

std::uint32_t crc32(std::string_view bytes)
{
    std::uint32_t remainder = 0xFFFFFFFF;
    for (const char byte : bytes) {
        remainder ^= static_cast<std::uint8_t>(byte);
        for (int bit = 0; bit < 8; ++bit)
            remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? 0xEDB88320U : 0U);
    }
    return ~remainder;
}

std::uint32_t adler32(std::string_view bytes)
{
    constexpr std::uint32_t modulus = 65521;
    std::uint32_t low = 1;
    std::uint32_t high = 0;
    for (const char byte : bytes) {
        low = (low + static_cast<std::uint8_t>(byte)) % modulus;
        high = (high + low) % modulus;
    }
    return (high << 16) | low;
}

void appendChunk(std::string& file, std::string_view type, std::string_view content)
{
    appendBigEndian(file, static_cast<std::uint32_t>(content.size()));
    const auto covered = std::string {type}.append(content);
    file += covered;
    appendBigEndian(file, crc32(covered));
}

/// A zlib stream of one stored block: nothing is compressed, so that no compression library is needed.
std::string stored(std::string_view bytes)
{
    const auto length = static_cast<std::uint16_t>(bytes.size());
    const auto complement = static_cast<std::uint16_t>(~length);
    std::string stream {"\x78\x01\x01"};
    for (const auto number : {length, complement}) {
        stream += static_cast<char>(number & 0xFF);
        stream += static_cast<char>(number >> 8);
    }
    stream += bytes;
    appendBigEndian(stream, adler32(bytes));
    return stream;
}

} // namespace

std::string thumbnail(std::string_view name)
{
    const auto hash = crc32(name);
    std::string row(1, '\0'); // Filter type: none.
    for (std::uint32_t pixel = 0; pixel < side; ++pixel)
        for (const int shift : {16, 8, 0})
            row += static_cast<char>((hash >> shift) & 0xFF);
    std::string rows;
    for (std::uint32_t line = 0; line < side; ++line)
        rows += row;
    static_assert(side * (1 + side * 3) <= 0xFFFF, "The rows must fit one stored block.");

    std::string header;
    appendBigEndian(header, side);
    appendBigEndian(header, side);
    // Eight bits a sample, red green blue, and the only compression, filter and interlace methods that are needed.
    header.append("\x08\x02\0\0\0", 5);

    std::string file {"\x89PNG\r\n\x1A\n"};
    appendChunk(file, "IHDR", header);
    appendChunk(file, "IDAT", stored(rows));
    appendChunk(file, "IEND", "");
    return file;
}

} // namespace kova::collector
