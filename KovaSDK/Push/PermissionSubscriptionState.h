// The push vendor's permission and subscription state under the SDK's own name, for hosts that spell it so.

#pragma once

#include "Platform/Vendors/OneSignal.h"

namespace kova {

class KOVA_EXPORT PermissionSubscriptionState : public OSPermissionSubscriptionState {
public:
    PermissionSubscriptionState() = default;
};

} // namespace kova
