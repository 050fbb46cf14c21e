#include "KovaSDK/Push/PushServices/KovaPushMetrics.h"

#include "KovaSDK/Push/KovaNotify.h"
#include "KovaSDK/Push/PushServices/PushMetricsRequest.h"
#include "Platform/Foundation/DateFormatter.h"
#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/ServiceAddresses.h"

namespace kova {

KovaPushMetrics::KovaPushMetrics(std::shared_ptr<URLSession> urlSession)
    : session(std::move(urlSession))
{
}

std::optional<Data> KovaPushMetrics::getJson(const std::string& notificationId) const
{
    Value::Dictionary body {
        {"notificationId", notificationId},
        {"timestamp", localTimestamp(Date::now())},
        {"metric", "delivery"},
    };
    if (const auto playerId = KovaNotify::getPlayerID())
        body.emplace("playerId", *playerId);
    auto json = JSONSerialization::data(std::move(body));
    return json ? std::optional {*std::move(json)} : std::nullopt;
}

void KovaPushMetrics::post(Data jsonObject, UploadCompletion completion) const
{
    print("Callbacking push metrics");
    const auto address = ServiceAddresses::current().metricsBaseURL;
    const auto baseURL = URL::create(address);
    if (!baseURL)
        fatalError("the base URL of the push-metrics web service is no URL: \"" + address + "\"");
    const PushMetricsRequest endPoint {{
        .baseURL = *baseURL,
        .path = "6a1f0c3e9b7d2e4f80a1c5d3",
        .httpMethod = HTTPMethod::post,
        .parameters = std::move(jsonObject),
    }};
    const auto task = session->dataTask(buildRequest(endPoint), printingReply(std::move(completion)));
    task->resume();
}

} // namespace kova
