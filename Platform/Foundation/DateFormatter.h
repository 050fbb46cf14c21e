// Dates as the device's user writes them.

#pragma once

#include "Platform/Foundation/Date.h"
#include "Platform/Foundation/Export.h"

#include <string>

namespace kova {

/// The date in the device's time zone in the pattern "yyyy-MM-dd HH:mm:ss". The platform supplies the body.
KOVA_EXPORT [[nodiscard]] std::string localTimestamp(const Date& date);

} // namespace kova
