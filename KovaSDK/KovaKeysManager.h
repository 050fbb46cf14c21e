// The host's configuration: the vendor ids and keys in the property list "Kova.plist" of its bundle.
//
// Every call finds and reads the file again, so that a host may replace it while it runs; it is parsed when its bytes
// have changed.
// Threads: any.

#pragma once

#include <cstddef>
#include <string>

namespace kova {

/// What can be configured.
enum class KovaKey {
    /// The geofencing vendor's public token, under "KovaGeolocationID".
    geoID,
    /// The audience that events belong to, under "KovaAudienceID".
    audienceID,
    /// The push vendor's application id, under "KovaNotificationID".
    notificationID,
    /// The key of the geotrigger web service, under "KovaAPIKey".
    apiKey,
};

class KovaKeyManager {
public:
    /// The text configured under the key. The empty text when the file is missing or unreadable, has no such key, or
    /// has something else than a text there. A file that is too large is not read, which is said once on standard
    /// error.
    [[nodiscard]] std::string get(KovaKey key) const;

    /// In bytes. It bounds what one read can cost; honest files are a thousandth of it.
    static constexpr std::size_t largestConfiguration = 16UL * 1024 * 1024;
};

} // namespace kova
