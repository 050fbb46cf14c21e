#include "KovaSDK/Events/EventServices/EventStorage.h"

#include "KovaSDK/Events/EventServices/EventService.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/UserDefaults.h"

#include <atomic>
#include <memory>
#include <optional>
#include <utility>

namespace kova {

namespace {

bool isData(const Value& value)
{
    return value.as<Data>() != nullptr;
}

Value::Array bodies(const std::optional<Value>& stored)
{
    const auto* array = stored ? stored->as<Value::Array>() : nullptr;
    return array && array->allSatisfy(&isData) ? *array : Value::Array {};
}

void finishPass(const PublicationOutcome& outcome, std::atomic<bool>& keepGoing)
{
    print("RESPONSE: " + description(outcome));
    if (!outcome) {
        print(outcome.error().message());
        keepGoing = false;
        return;
    }
    const EventStorage storage;
    if (*outcome && !storage.buffer().empty()) {
        print("EVENT STORAGE: removed event from buffer");
        storage.removeFirst();
        return;
    }
    print("EVENT STORAGE: cannot remove event from buffer");
    keepGoing = false;
}

void release()
{
    const EventStorage storage;
    const auto waiting = storage.buffer();
    if (waiting.empty())
        return;
    // Every pass sends this body: contract.
    const auto body = *waiting[0].as<Data>();
    const auto keepGoing = std::make_shared<std::atomic<bool>>(true);
    const auto passes = storage.buffer().size();
    if (passes == 0)
        fatalError("the event buffer was emptied by somebody else while its release began");
    for (std::size_t pass = 0; pass < passes && *keepGoing; ++pass) {
        print("EVENT STORAGE: Inside buffer");
        EventService {}.publish(
            body, [keepGoing](const PublicationOutcome& outcome) { finishPass(outcome, *keepGoing); });
    }
}

} // namespace

Value::Array EventStorage::buffer() const
{
    return bodies(UserDefaults::standard()->object(key));
}

void EventStorage::setBuffer(Value::Array buffer) const
{
    UserDefaults::standard()->setObject(key, Value {std::move(buffer)});
}

void EventStorage::store(Data event) const
{
    UserDefaults::standard()->update(key, [event = std::move(event)](const std::optional<Value>& present) {
        auto list = bodies(present);
        list.append(event);
        return Value {std::move(list)};
    });
}

void EventStorage::removeFirst() const
{
    UserDefaults::standard()->update(key, [](const std::optional<Value>& present) {
        auto list = bodies(present);
        list.removeFirst();
        return Value {std::move(list)};
    });
}

void EventStorage::releaseEvents() const
{
    print("EVENT STORAGE: Entered release method");
    DispatchQueue::create("releaseEventsPool", QualityOfService::Background)->async(&release);
}

} // namespace kova
