#include "Platform/QtDevice/QtDevicePlatform.h"

#include "Platform/Posix/ThreadSignals.h"
#include "Platform/Qt/EventLoopQueue_p.h"
#include "Platform/QtDevice/BundleQt.h"
#include "Platform/QtDevice/NetworkReachabilityQt.h"

#include <QCoreApplication>
#include <QStandardPaths>
#include <utility>

namespace kova {

namespace fs = std::filesystem;

namespace {

// The standard library's threads have no name that Qt could set.
void prepareThread(std::string_view /*name*/, QualityOfService /*quality*/)
{
    blockSignals();
}

fs::path userDataFolder()
{
    // The generic folder is everybody's on Android.
    return fs::path {QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation).toStdU16String()};
}

std::shared_ptr<Bundle> makeBundle(std::string identifier, std::optional<fs::path> folder)
{
    return std::make_shared<BundleQt>(std::move(identifier), std::move(folder));
}

std::shared_ptr<NetworkReachability> makeReachability()
{
    return std::make_shared<NetworkReachabilityQt>();
}

} // namespace

QtDevicePlatform::QtDevicePlatform(const QtDevicePlatformOptions& options)
    : PosixPlatform(options,
          {.threadHook = &prepareThread,
              .freedMemoryHook = nullptr,
              .dataFolder = &userDataFolder,
              .makeBundle = &makeBundle,
              .makeReachability = &makeReachability})
{
    if (options.mainLoop == MainLoop::Host && QCoreApplication::instance())
        m_mainQueue = std::make_unique<EventLoopQueue>();
}

QtDevicePlatform::~QtDevicePlatform()
{
    // The session goes first, and releases whoever waits for one of its replies.
    end();
}

} // namespace kova
