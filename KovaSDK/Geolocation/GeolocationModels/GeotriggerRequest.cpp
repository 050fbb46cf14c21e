#include "KovaSDK/Geolocation/GeolocationModels/GeotriggerRequest.h"

#include "KovaSDK/Push/KovaNotify.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/ServiceAddresses.h"

namespace kova {

namespace {

URL serviceURL()
{
    const auto address = ServiceAddresses::current().geotriggersBaseURL;
    auto url = URL::create(address);
    if (!url)
        fatalError("the base URL of the geotrigger web service is no URL: \"" + address + "\"");
    return *std::move(url);
}

} // namespace

GeotriggerRequest::GeotriggerRequest(Data data)
    : EndPointType {
          .baseURL = serviceURL(),
          .path = KovaNotify::getPlayerID().value_or(""),
          .httpMethod = HTTPMethod::post,
          .parameters = std::move(data),
      }
{
}

} // namespace kova
