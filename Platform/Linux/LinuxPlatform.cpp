#include "Platform/Linux/LinuxPlatform.h"

#include "Platform/Linux/BundleLinux.h"
#include "Platform/Linux/NetworkReachabilityLinux.h"
#include "Platform/Linux/ThreadLinux.h"

#include <malloc.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace kova {

namespace fs = std::filesystem;

namespace {

fs::path userDataFolder()
{
    // The base directory convention says that a relative path is to be ignored.
    if (const auto* dataHome = std::getenv("XDG_DATA_HOME"); dataHome && fs::path {dataHome}.is_absolute())
        return dataHome;
    if (const auto* home = std::getenv("HOME"); home && fs::path {home}.is_absolute())
        return fs::path {home} / ".local" / "share";
    const auto* user = getpwuid(geteuid());
    return fs::path {user ? user->pw_dir : "/"} / ".local" / "share";
}

// After one large block has been freed, glibc's allocator keeps as much as that for each of its heaps.
void trimHeaps()
{
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

std::shared_ptr<Bundle> makeBundle(std::string identifier, std::optional<fs::path> folder)
{
    return std::make_shared<BundleLinux>(std::move(identifier), std::move(folder));
}

std::shared_ptr<NetworkReachability> makeReachability()
{
    return std::make_shared<NetworkReachabilityLinux>();
}

} // namespace

LinuxPlatform::LinuxPlatform(LinuxPlatformOptions options)
    : PosixPlatform(std::move(options),
          {.threadHook = &prepareThreadOnLinux,
              .freedMemoryHook = &trimHeaps,
              .dataFolder = &userDataFolder,
              .makeBundle = &makeBundle,
              .makeReachability = &makeReachability})
{
}

} // namespace kova
