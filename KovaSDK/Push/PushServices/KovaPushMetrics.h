// Reports to the push-metrics web service that a push was delivered: fire and forget.
//
// Threads: any. The completion runs on the HTTP session's thread.

#pragma once

#include "KovaSDK/Services/Networking/NetworkManager.h"
#include "Platform/Foundation/Data.h"
#include "Platform/Foundation/Value.h"

#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <system_error>

namespace kova {

class KovaPushMetrics : public NetworkManager {
public:
    using Completion = std::move_only_function<void(std::expected<Value, std::error_code>)>;

    explicit KovaPushMetrics(std::shared_ptr<URLSession> urlSession);

    /// One JSON object, all values texts: "notificationId", "playerId" (only when the device has one), "timestamp"
    /// (now, in the device's time zone, "yyyy-MM-dd HH:mm:ss") and "metric", which is "delivery". None when it cannot
    /// be written as JSON.
    [[nodiscard]] std::optional<Data> getJson(const std::string& notificationId) const;

    /// Posts the body and returns at once. The completion gets `true` for any reply, whatever its status, or the
    /// transport's error; the status is only printed. Nothing is retried or kept. A base URL that does not parse stops
    /// the process.
    void post(Data jsonObject, Completion completion) const;

    std::shared_ptr<URLSession> session;
};

} // namespace kova
