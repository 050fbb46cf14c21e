#include "Platform/Foundation/DateFormatter.h"

#include <QDateTime>
#include <array>
#include <cmath>
#include <cstdio>

namespace kova {

std::string localTimestamp(const Date& date)
{
    // Qt counts milliseconds.
    constexpr double farthestSeconds = 9.0e15;
    const auto seconds = std::floor(date.secondsSince1970);
    const auto local = std::abs(seconds) < farthestSeconds ? QDateTime::fromSecsSinceEpoch(static_cast<qint64>(seconds))
                                                           : QDateTime {};
    if (!local.isValid())
        return description(date).substr(0, std::string_view {"yyyy-MM-dd HH:mm:ss"}.size());
    const auto day = local.date();
    const auto time = local.time();
    // Qt counts no year 0.
    const int year = day.year() < 0 ? day.year() + 1 : day.year();
    std::array<char, 64> text {};
    const auto length = std::snprintf(text.data(), text.size(), "%d-%02d-%02d %02d:%02d:%02d", year, day.month(),
        day.day(), time.hour(), time.minute(), time.second());
    return {text.data(), static_cast<std::size_t>(length)};
}

} // namespace kova
