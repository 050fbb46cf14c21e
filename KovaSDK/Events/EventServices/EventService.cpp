#include "KovaSDK/Events/EventServices/EventService.h"

#include "KovaSDK/Events/EventServices/EventRequest.h"
#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/ServiceAddresses.h"

#include <semaphore>

namespace kova {

namespace {

std::string description(std::error_code error)
{
    return std::string {error.category().name()} + " " + std::to_string(error.value()) + ": " + error.message();
}

PublicationOutcome outcomeOf(const std::optional<HTTPURLResponse>& response, std::error_code error)
{
    print("EVENT SERVICE: Entered REQUEST method");
    if (error) {
        print("EVENT SERVICE: Error : " + description(error));
        return std::unexpected {error};
    }
    constexpr int delivered = 200;
    if (response && response->statusCode == delivered) {
        print("statusCode " + std::to_string(delivered));
        return true;
    }
    print("EVENT SERVICE: Error parsing response");
    return false;
}

} // namespace

EventService::EventService()
    : session(URLSession::shared())
{
}

void EventService::publish(const Data& event, Completion completion) const
{
    if (session->isOnCompletionThread())
        fatalError(
            "EventService::publish must not be called from a completion of the HTTP session: it would wait for itself");
    print("EVENT SERVICE: Entered PUBLISH method for" + decodedDescription(event));
    const auto address = ServiceAddresses::current().eventsBaseURL;
    const auto baseURL = URL::create(address);
    if (!baseURL)
        fatalError("the base URL of the events web service is no URL: \"" + address + "\"");
    const EventResquest endPoint {{
        .baseURL = *baseURL,
        .path = "6a1f0c3e9b7d2e4f80a1c5d3",
        .httpMethod = HTTPMethod::post,
        .parameters = event,
    }};
    // Owned by the reply handler, too: releasing a semaphore touches it after the waiter may have gone on.
    const auto done = std::make_shared<std::counting_semaphore<>>(0);
    const auto task = session->dataTask(buildRequest(endPoint),
        [done, completion = std::move(completion)](
            const std::optional<Data>&, const std::optional<HTTPURLResponse>& response, std::error_code error) mutable {
            completion(outcomeOf(response, error));
            done->release();
        });
    task->resume();
    done->acquire();
}

std::string description(const PublicationOutcome& outcome)
{
    if (outcome)
        return *outcome ? "success(true)" : "success(false)";
    return "failure(" + description(outcome.error()) + ")";
}

} // namespace kova
