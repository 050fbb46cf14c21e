// The endpoint of the events web service.

#pragma once

#include "KovaSDK/Services/Networking/EndPointType.h"

namespace kova {

/// Spelled so: the name is contract.
struct EventResquest : EndPointType { };

} // namespace kova
