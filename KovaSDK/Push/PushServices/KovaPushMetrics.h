// Reports to the push-metrics web service that a push was delivered: fire and forget.
//
// Threads: any. The completion runs on the HTTP session's thread.

#pragma once

#include "KovaSDK/Services/Networking/NetworkManager.h"
#include "KovaSDK/Services/Networking/UploadCompletion.h"
#include "Platform/Foundation/Data.h"

#include <memory>
#include <optional>
#include <string>

namespace kova {

class KovaPushMetrics : public NetworkManager {
public:
    explicit KovaPushMetrics(std::shared_ptr<URLSession> urlSession);

    /// One JSON object, all values texts: "notificationId", "playerId" (only when the device has one), "timestamp"
    /// (now, in the device's time zone, "yyyy-MM-dd HH:mm:ss") and "metric", which is "delivery". None when it cannot
    /// be written as JSON.
    [[nodiscard]] std::optional<Data> getJson(const std::string& notificationId) const;

    /// Posts the body and returns at once. The completion gets `true` for any reply, whatever its status, or the
    /// transport's error; the status is only printed. Nothing is retried or kept. A base URL that does not parse stops
    /// the process.
    void post(Data jsonObject, UploadCompletion completion) const;

    std::shared_ptr<URLSession> session;
};

} // namespace kova
