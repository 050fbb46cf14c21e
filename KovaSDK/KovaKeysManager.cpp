#include "KovaSDK/KovaKeysManager.h"

#include "Platform/Foundation/Bundle.h"
#include "Platform/Foundation/PropertyList.h"

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

} // namespace

std::string KovaKeyManager::get(KovaKey key) const
{
    constexpr std::size_t largestConfiguration = 1024 * 1024;
    const auto file = Bundle::main()->path("Kova", "plist");
    const auto bytes = file ? Data::contentsOf(*file, largestConfiguration) : std::nullopt;
    const auto configuration = bytes ? PropertyListDecoder::decode(bytes->text()) : Value {};
    const auto* value = configuration ? configuration->find<std::string>(resourceKey(key)) : nullptr;
    return value ? *value : std::string {};
}

} // namespace kova
