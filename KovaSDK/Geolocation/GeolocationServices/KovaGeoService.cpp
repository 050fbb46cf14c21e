#include "KovaSDK/Geolocation/GeolocationServices/KovaGeoService.h"

#include "KovaSDK/Geolocation/GeolocationModels/GeotriggerRequest.h"
#include "KovaSDK/KovaKeysManager.h"
#include "Platform/Foundation/Print.h"

namespace kova {

KovaGeoService::KovaGeoService(std::shared_ptr<URLSession> urlSession)
    : session(std::move(urlSession))
{
}

void KovaGeoService::postGeotriggers(Data jsonObject, UploadCompletion completion) const
{
    print("posting some geotrigger");
    auto request = buildRequest(GeotriggerRequest {std::move(jsonObject)});
    request.addValue(KovaKeyManager {}.get(KovaKey::apiKey), "x-api-key");
    print("Request: " + description(request));
    const auto task = session->dataTask(std::move(request), printingReply(std::move(completion)));
    task->resume();
}

} // namespace kova
