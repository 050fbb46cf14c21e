// What the list screen shows: its own copy of the inbox, changed in step with the store, index for index.

#pragma once

#include "KovaSDK/Push/PushModel/KovaNotification.h"

#include <vector>

namespace kova {

class NotificationViewModel {
public:
    /// Newest first.
    std::vector<KovaNotification> notifications;
};

} // namespace kova
