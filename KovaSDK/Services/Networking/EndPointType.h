// What a web-service client asks for. Each client derives a value type of its own that fills these four fields.

#pragma once

#include "KovaSDK/Services/Networking/HTTPMethod.h"
#include "Platform/Foundation/Data.h"
#include "Platform/Foundation/URL.h"

#include <string>

namespace kova {

struct EndPointType {
    /// The web service: scheme, host and any leading path.
    URL baseURL;
    /// Appended to the base URL as one path component.
    std::string path;
    HTTPMethod httpMethod;
    /// The complete request body, JSON already.
    Data parameters;
};

} // namespace kova
