#include "Host/Doctor/ShellWord.h"

#include <string_view>

namespace kova::host {

std::string shellWord(const std::string& text)
{
    constexpr std::string_view harmless = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-./+:,=@%";
    if (!text.empty() && text.find_first_not_of(harmless) == std::string::npos)
        return text;
    std::string word = "'";
    for (const char letter : text)
        word += letter == '\'' ? R"('\'')" : std::string {letter};
    return word + "'";
}

} // namespace kova::host
