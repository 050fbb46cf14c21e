#include "Benchmarks/Support/BenchmarkPlatform.h"

#include "Benchmarks/Support/Require.h"
#include "KovaSDK/Services/Networking/KovaNetwork.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/PropertyList.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

namespace kova::benchmarks {

namespace {

class FixedNetwork final : public NetworkReachability {
public:
    explicit FixedNetwork(SCNetworkReachabilityFlags flags)
        : m_flags(flags)
    {
    }

    std::shared_ptr<SCNetworkReachability> createWithName(const std::string&) override
    {
        return std::make_shared<Target>(m_flags);
    }

private:
    class Target final : public SCNetworkReachability {
    public:
        explicit Target(SCNetworkReachabilityFlags flags)
            : m_flags(flags)
        {
        }
        bool setCallback(SCNetworkReachabilityCallBack, SCNetworkReachabilityContext) override { return true; }
        bool setDispatchQueue(std::shared_ptr<DispatchQueue>) override { return true; }
        std::optional<SCNetworkReachabilityFlags> flags() override { return m_flags; }

    private:
        SCNetworkReachabilityFlags m_flags;
    };

    SCNetworkReachabilityFlags m_flags;
};

DevicePlatformOptions options(const BenchmarkFolder& folder, SCNetworkReachabilityFlags flags,
    const std::string& eventsBaseURL, MainLoop mainLoop)
{
    auto addresses = ServiceAddresses::builtIn();
    addresses.eventsBaseURL = eventsBaseURL;
    addresses.metricsBaseURL = eventsBaseURL;
    return {.bundleIdentifier = "example.benchmark",
        .bundleFolder = folder.path(),
        .dataFolder = folder.path() / "data",
        .serviceAddresses = addresses,
        .mainLoop = mainLoop,
        .reachability = std::make_shared<FixedNetwork>(flags)};
}

} // namespace

BenchmarkFolder::BenchmarkFolder()
{
    std::string pattern = std::filesystem::temp_directory_path() / "kova-benchmark-XXXXXX";
    require(mkdtemp(pattern.data()) != nullptr, "no folder can be made");
    m_path = pattern;
    const auto list = PropertyListEncoder::encode(
        Value::Dictionary {{"KovaAudienceID", "audience"}, {"KovaNotificationID", "app"}, {"KovaAPIKey", "key"}});
    std::ofstream {configuration()} << list->text();
}

BenchmarkFolder::~BenchmarkFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

BenchmarkPlatform::BenchmarkPlatform(
    SCNetworkReachabilityFlags flags, const std::string& eventsBaseURL, MainLoop mainLoop)
{
    m_platform.emplace(options(m_folder, flags, eventsBaseURL, mainLoop));
    setPrintSink(&writeLog);
    KovaNetwork::setReachability(Reachability::create("host.example"));
}

BenchmarkPlatform::~BenchmarkPlatform()
{
    KovaNetwork::setReachability(nullptr);
}

void BenchmarkPlatform::readConfiguration() const
{
    constexpr std::size_t largest = 1024 * 1024;
    const auto bytes = Data::contentsOf(m_folder.configuration(), largest);
    require(bytes && PropertyListDecoder::decode(bytes->text()), "the configuration cannot be read");
}

void BenchmarkPlatform::writeLog(std::string_view line)
{
    static const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    require(write(nowhere, line.data(), line.size()) >= 0, "the log cannot be written");
}

} // namespace kova::benchmarks
