#include "Platform/Foundation/Date.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace kova {

Date Date::now()
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return {std::chrono::duration<double> {sinceEpoch}.count()};
}

std::string description(const Date& date)
{
    using namespace std::chrono;
    // The calendar type ends a little beyond the year 32 000: what lies farther off is shown at these limits.
    constexpr double limit = 9.0e11;
    const double clamped = std::isnan(date.secondsSince1970) ? 0.0 : std::clamp(date.secondsSince1970, -limit, limit);
    const sys_seconds time {seconds {static_cast<long long>(std::floor(clamped))}};
    const auto day = floor<days>(time);
    const year_month_day calendar {day};
    const hh_mm_ss clock {time - day};
    std::array<char, 64> text {};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d +0000", static_cast<int>(calendar.year()),
        static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
        static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
        static_cast<int>(clock.seconds().count()));
    return text.data();
}

} // namespace kova
