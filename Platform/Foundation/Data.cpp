#include "Platform/Foundation/Data.h"

#include "Platform/Foundation/Unicode.h"

#include <fstream>
#include <system_error>

namespace kova {

Data::Data(std::string bytes)
    : m_bytes(std::make_shared<const std::string>(std::move(bytes)))
{
}

std::optional<Data> Data::contentsOf(const std::filesystem::path& file, std::size_t maximumSize)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(file, error))
        return std::nullopt;
    const auto size = std::filesystem::file_size(file, error);
    if (error || size > maximumSize)
        return std::nullopt;
    std::ifstream stream;
    stream.rdbuf()->pubsetbuf(nullptr, 0);
    stream.open(file, std::ios::binary);
    if (!stream)
        return std::nullopt;
    std::string bytes(static_cast<std::size_t>(size), '\0');
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (stream.bad())
        return std::nullopt;
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    return Data {std::move(bytes)};
}

std::optional<std::string> decodedText(const Data& data)
{
    if (!isValidUTF8(data.text()))
        return std::nullopt;
    return std::string {data.text()};
}

} // namespace kova
