// One inbox entry: what is kept of a received push, so that the notification centre can list it, show it and track
// whether it was read.
//
// It has no identity: the inbox addresses an entry by its position, and two receipts of one push are two entries.

#pragma once

#include "Platform/Foundation/Value.h"
#include "Platform/Vendors/OneSignal.h"

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace kova {

struct KovaNotification {
    /// The names under which the fields are stored, in the order of the fields.
    enum class CodingKeys { notificationID, title, subtitle, body, launchURL, att, read };

    std::optional<std::string> notificationID {};
    std::optional<std::string> title {};
    std::optional<std::string> subtitle {};
    std::optional<std::string> body {};
    /// What the detail screen opens.
    std::optional<std::string> launchURL {};
    /// The address of the attachment image, from "id" in the raw payload's "att".
    std::optional<std::string> att {};
    /// Whether the user has opened the entry in the centre.
    bool read = false;

    KovaNotification() = default;

    /// An unread entry. An absent subtitle or launch URL becomes the empty text while an absent id, title or body stays
    /// absent; that asymmetry is contract. So is `att`: the empty text when the payload has no "att" that is a
    /// dictionary of texts, absent when that dictionary has no "id". A payload without its raw payload stops the
    /// process.
    explicit KovaNotification(const OSNotificationPayload& payload);

    /// A dictionary with the seven keys; an absent field has no key.
    [[nodiscard]] Value encode() const;

    /// The inverse. "read" must be there and a boolean, a text must be a text; anything else is `unableToDecode`.
    [[nodiscard]] static std::expected<KovaNotification, std::error_code> decode(const Value& value);
};

[[nodiscard]] std::string_view rawValue(KovaNotification::CodingKeys key);

/// The record as the log shows it.
[[nodiscard]] std::string description(const KovaNotification& notification);
void appendDescription(std::string& text, const KovaNotification& notification);

} // namespace kova
