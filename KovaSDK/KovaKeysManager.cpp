#include "KovaSDK/KovaKeysManager.h"

#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/PropertyList.h"

#include <filesystem>
#include <mutex>
#include <set>
#include <system_error>

namespace kova {

namespace {

std::string_view resourceKey(KovaKey key)
{
    switch (key) {
    case KovaKey::geoID:
        return "KovaGeolocationID";
    case KovaKey::audienceID:
        return "KovaAudienceID";
    case KovaKey::notificationID:
        return "KovaNotificationID";
    case KovaKey::apiKey:
        return "KovaAPIKey";
    }
    return {};
}

// Once a file, since the configuration is read at each use.
void complainIfTooLarge(const std::filesystem::path& file)
{
    static std::mutex mutex;
    // Never destroyed: a thread may still read the configuration while main's statics go away.
    static auto& complainedOf = *new std::set<std::filesystem::path>;
    std::error_code unreadable;
    const auto size = std::filesystem::file_size(file, unreadable);
    const std::lock_guard lock {mutex};
    if (!unreadable && size > KovaKeyManager::largestConfiguration && complainedOf.insert(file).second)
        complain("KovaSDK: the configuration " + file.string() + " is larger than 16 MiB, so it is not read");
}

// The configuration that was read last: it is parsed again only when its bytes have changed.
class ParsedConfiguration {
public:
    std::string text(const Data& bytes, std::string_view key)
    {
        const std::lock_guard lock {m_mutex};
        if (m_bytes != bytes) {
            m_list = PropertyListDecoder::decode(bytes.text()).value_or(Value {});
            m_bytes = bytes;
        }
        const auto* value = m_list.find<std::string>(key);
        return value ? *value : std::string {};
    }

private:
    std::mutex m_mutex;
    Data m_bytes;
    Value m_list;
};

ParsedConfiguration& parsed()
{
    // Never destroyed: a thread may still read the configuration while main's statics go away.
    static auto& configuration = *new ParsedConfiguration;
    return configuration;
}

} // namespace

std::string KovaKeyManager::get(KovaKey key) const
{
    const auto file = Bundle::main()->path("Kova", "plist");
    const auto bytes = file ? Data::contentsOf(*file, largestConfiguration) : std::nullopt;
    if (file && !bytes)
        complainIfTooLarge(*file);
    return bytes ? parsed().text(*bytes, resourceKey(key)) : std::string {};
}

} // namespace kova
