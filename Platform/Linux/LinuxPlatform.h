// The SDK's platform on Linux, installed by the host with one object:
//
//     int main()
//     {
//         kova::LinuxPlatform platform {{.bundleIdentifier = "example.shop"}};
//         …
//     }
//
// Reachability is the kernel's view of it. The rest is said in PosixPlatform.h.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/Posix/PosixPlatform.h"

namespace kova {

using LinuxPlatformOptions = PosixPlatformOptions;

class KOVA_EXPORT LinuxPlatform final : public PosixPlatform {
public:
    explicit LinuxPlatform(LinuxPlatformOptions options);
};

} // namespace kova
