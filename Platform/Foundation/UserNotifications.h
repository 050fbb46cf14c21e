// The platform's notification request and content, as a notification service extension gets them.

#pragma once

#include "Platform/Foundation/Value.h"

#include <string>
#include <vector>

namespace kova {

/// What is about to be shown; the extension may change it.
struct UNMutableNotificationContent {
    std::string title;
    std::string subtitle;
    std::string body;
    /// Addresses or file names of attachments.
    std::vector<std::string> attachments;
};

/// The request that woke the extension.
struct UNNotificationRequest {
    std::string identifier;
    /// The raw payload that reached the device.
    Value::Dictionary userInfo;
};

} // namespace kova
