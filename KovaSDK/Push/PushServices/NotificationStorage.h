// The inbox: the list of received pushes, newest first, as one property list in user defaults.
//
// Every access reads or writes the whole list in the store; what has not changed there since the last access is not
// decoded again. Threads: any; one read, one write or one update is atomic, also between processes, and a sequence of
// them is not. There is no limit and nothing is merged.

#pragma once

#include "KovaSDK/Push/PushModel/KovaNotification.h"

#include <functional>
#include <string>
#include <vector>

namespace kova {

class NotificationStorage {
public:
    NotificationStorage() = delete;

    /// The key in user defaults; the value is data, a binary property list: an array of dictionaries with the record's
    /// keys.
    static constexpr const char* key = "kova_notification";

    /// The records, newest first. Reads as empty when nothing is stored, or what is stored cannot be decoded as a
    /// whole; it is left as it is then.
    [[nodiscard]] static std::vector<KovaNotification> buffer();

    /// Calls the function with what buffer() returns, without a copy.
    static void read(const std::function<void(const std::vector<KovaNotification>& buffer)>& function);

    /// Stores the whole list. A list that cannot be encoded (text that is not valid UTF-8) removes the key and so
    /// empties the inbox: that asymmetry is contract.
    static void setBuffer(const std::vector<KovaNotification>& buffer);

    /// Changes the list as it is stored at that moment: it reads as in buffer() and is written as in setBuffer(), with
    /// nothing between. The function has no effect but on the list, and may run more than once (see UserDefaults).
    static void update(std::function<void(std::vector<KovaNotification>& buffer)> change);

    /// How many records have not been read.
    [[nodiscard]] static std::size_t totalUnreadNotifications();
};

/// The list as the log shows it, in brackets.
[[nodiscard]] std::string description(const std::vector<KovaNotification>& notifications);

} // namespace kova
