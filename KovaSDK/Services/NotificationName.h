// The names under which the SDK announces things on NotificationCenter::default_(). They are contract with the host,
// their spelling included.

#pragma once

namespace kova {

struct NotificationName {
    /// A push was stored in the inbox, at index 0. No object, no user info; posted on the thread that received the
    /// push.
    static constexpr const char* didReceivedNotification = "didReceivedNotification";
    /// A record was deleted on the detail screen; the user info's "index" is its row, a 64-bit integer.
    static constexpr const char* didDeletedNotification = "didDeletedNotification";
    /// The reachability flags changed; the object is the monitor.
    static constexpr const char* flagsChanged = "FlagsChanged";
};

} // namespace kova
