#include "Platform/Foundation/DateFormatter.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <tuple>

namespace kova {
namespace {

TEST(DateFormatterTest, FollowsTheTimeZone)
{
    const std::tuple<const char*, double, const char*> rows[] {
        {"UTC0", 1706702400.75, "2024-01-31 12:00:00"},
        {"BRT3", 1706702400, "2024-01-31 09:00:00"},
        {"IST-5:30", 1706736600, "2024-02-01 03:00:00"},
        {"CET-1CEST,M3.5.0,M10.5.0/3", 1720000000, "2024-07-03 11:46:40"},
        {"BRT3", -0.5, "1969-12-31 20:59:59"},
        {"UTC0", 253402300800, "10000-01-01 00:00:00"},
        {"UTC0", -30610224000, "1000-01-01 00:00:00"},
        {"UTC0", -30610224001, "999-12-31 23:59:59"},
        {"UTC0", -62167219201, "-1-12-31 23:59:59"},
    };
    for (const auto& [zone, seconds, text] : rows) {
        setenv("TZ", zone, 1);
        tzset();
        EXPECT_EQ(localTimestamp(Date {seconds}), text) << zone;
    }
    unsetenv("TZ");
    tzset();
}

} // namespace
} // namespace kova
