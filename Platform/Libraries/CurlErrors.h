// Which URLError a curl code stands for. Every code of curl ends here.

#pragma once

#include "Platform/Foundation/URLSession.h"

namespace kova {

/// What is known about a failed exchange beside curl's code.
struct CurlFailure {
    int code = 0;
    /// Whether the last request went out: then what failed is the reply.
    bool wasSent = false;
    /// Whether the head of a reply was being read.
    bool isInHead = false;
    bool isSecure = false;
    /// The last error number of the system that curl saw, 0 for none.
    long systemError = 0;
};

[[nodiscard]] URLError urlError(const CurlFailure& failure);

} // namespace kova
