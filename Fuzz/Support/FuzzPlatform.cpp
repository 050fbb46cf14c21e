#include "Fuzz/Support/FuzzPlatform.h"

#include "Fuzz/Fuzzing.h"
#include "KovaSDK/KovaSDK.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/Unicode.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace kova::fuzz {

namespace {

constexpr const char* bundleIdentifier = "example.fuzz";

// Whatever a payload or a script holds, it neither forges a line of the log nor breaks its encoding.
void lookAtLine(std::string_view line)
{
    require(line.find('\n') == line.size() - 1 && isValidUTF8(line));
}

DevicePlatformOptions options(const FuzzFolder& folder, std::shared_ptr<NetworkReachability> network, MainLoop mainLoop)
{
    return {.bundleIdentifier = bundleIdentifier,
        .bundleFolder = folder.path(),
        .dataFolder = folder.path(),
        .mainLoop = mainLoop,
        .reachability = std::move(network)};
}

} // namespace

FuzzFolder::FuzzFolder()
{
    auto name = (std::filesystem::temp_directory_path() / "kova-fuzz-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::system_error {errno, std::generic_category(), name};
    m_path = name;
}

FuzzFolder::~FuzzFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

FuzzPlatform::FuzzPlatform(MainLoop mainLoop)
    : platform(options(folder, network, mainLoop))
{
    setPrintSink(&lookAtLine);
    URLSession::setShared(session);
    OneSignal::setShared(vendor);
    PlotDebug::setShared(geofencing);
}

std::filesystem::path FuzzPlatform::storeFolder() const
{
    return folder.path() / bundleIdentifier;
}

void FuzzPlatform::startSDK() const
{
    KovaNotify::initWithCallbacks(std::nullopt);
    DispatchQueue::drainMain();
}

} // namespace kova::fuzz
