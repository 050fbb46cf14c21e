// The endpoint of the push-metrics web service.

#pragma once

#include "KovaSDK/Services/Networking/EndPointType.h"

namespace kova {

struct PushMetricsRequest : EndPointType { };

} // namespace kova
