// An absolute point in time, as stored values and events carry it.

#pragma once

#include "Platform/Foundation/Export.h"

#include <string>

namespace kova {

struct KOVA_EXPORT Date {
    /// Seconds since 1970-01-01 00:00:00 UTC, fraction kept; negative before that.
    double secondsSince1970 = 0;

    [[nodiscard]] static Date now();

    friend bool operator==(const Date&, const Date&) = default;
};

/// The date in UTC, to the second: "2024-01-31 12:00:00 +0000".
KOVA_EXPORT [[nodiscard]] std::string description(const Date& date);

} // namespace kova
