// Uploads the data of one geotrigger to the geotrigger web service: fire and forget.
//
// Threads: any. The completion runs on the HTTP session's thread. A service is made for each upload and dropped
// afterwards.

#pragma once

#include "KovaSDK/Services/Networking/NetworkManager.h"
#include "KovaSDK/Services/Networking/UploadCompletion.h"
#include "Platform/Foundation/Data.h"

#include <memory>

namespace kova {

class KovaGeoService : public NetworkManager {
public:
    explicit KovaGeoService(std::shared_ptr<URLSession> urlSession);

    /// Posts one geotrigger's JSON to this device's address (see GeotriggerRequest), with the configured API key under
    /// "x-api-key", and returns at once. Nothing is retried or kept.
    void postGeotriggers(Data jsonObject, UploadCompletion completion) const;

    std::shared_ptr<URLSession> session;
};

} // namespace kova
