// Dates as the device's user writes them.

#pragma once

#include "Platform/Foundation/Date.h"
#include "Platform/Foundation/Export.h"

#include <string>

namespace kova {

/// The date in the device's time zone in the pattern "yyyy-MM-dd HH:mm:ss". The device's language changes nothing of
/// it: digits are 0 to 9, years are those of the Gregorian calendar and hours go from 00 to 23, since a program reads
/// the text. The platform supplies the body.
KOVA_EXPORT [[nodiscard]] std::string localTimestamp(const Date& date);

} // namespace kova
