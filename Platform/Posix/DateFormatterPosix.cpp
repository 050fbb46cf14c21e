#include "Platform/Foundation/DateFormatter.h"

#include <array>
#include <cmath>
#include <ctime>

namespace kova {

std::string localTimestamp(const Date& date)
{
    const auto seconds = static_cast<std::time_t>(std::floor(date.secondsSince1970));
    std::tm local {};
    if (!localtime_r(&seconds, &local))
        return description(date).substr(0, std::string_view {"yyyy-MM-dd HH:mm:ss"}.size());
    std::array<char, 64> text {};
    const auto length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local);
    return {text.data(), length};
}

} // namespace kova
