#include "Platform/Foundation/Data.h"

#include "Platform/Foundation/Unicode.h"

#include <cstdio>
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
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream {std::fopen(file.c_str(), "rb"), &std::fclose};
    if (!stream)
        return std::nullopt;
    std::setvbuf(stream.get(), nullptr, _IONBF, 0);
    std::string bytes(size, '\0');
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), stream.get()));
    if (std::ferror(stream.get()))
        return std::nullopt;
    return Data {std::move(bytes)};
}

std::optional<std::string> decodedText(const Data& data)
{
    if (!isValidUTF8(data.text()))
        return std::nullopt;
    return std::string {data.text()};
}

} // namespace kova
