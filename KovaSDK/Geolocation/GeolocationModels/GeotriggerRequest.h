// The endpoint of the geotrigger web service.

#pragma once

#include "KovaSDK/Services/Networking/EndPointType.h"

namespace kova {

struct GeotriggerRequest : EndPointType {
    /// A POST of one geotrigger's JSON to this device: its path is the push vendor's id of the device's subscription,
    /// empty while there is none. A base URL that does not parse stops the process, as does a push vendor's state
    /// without a subscription status.
    explicit GeotriggerRequest(Data data);
};

} // namespace kova
