// The SDK's platform on whatever system Qt runs on, installed by the host with one object:
//
//     int main(int argc, char** argv)
//     {
//         QGuiApplication application {argc, argv};
//         kova::QtDevicePlatform platform {{.bundleIdentifier = "example.shop", .mainLoop = kova::MainLoop::Host}};
//         …
//         return application.exec();
//     }
//
// Made after the application object, by its thread, and destroyed before it. Qt answers for the network's state, the
// data folder, the resources and the time zone; with MainLoop::Host the application's event loop runs the main queue.
// Log lines go to standard output unless the host has set a sink before. Without an application object the network's
// state is read from the interfaces, and with MainLoop::Host the host runs the main queue. The rest is said in
// PosixPlatform.h.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/Posix/PosixPlatform.h"

#include <memory>

namespace kova {

class EventLoopQueue;

using QtDevicePlatformOptions = PosixPlatformOptions;

class KOVA_EXPORT QtDevicePlatform final : public PosixPlatform {
public:
    /// Without a bundle folder the resources are "Resources" beside the executable, in which an application bundle of
    /// macOS has them one level higher, or the application's Qt resources. Without a data folder it is Qt's
    /// AppLocalDataLocation, which has the application's name in it on some systems.
    explicit QtDevicePlatform(const QtDevicePlatformOptions& options);
    ~QtDevicePlatform();

private:
    std::unique_ptr<EventLoopQueue> m_mainQueue;
};

} // namespace kova
