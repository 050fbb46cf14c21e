// What every event is: a user action with its facts, saved with save().
//
// An event is not synchronised: it must not be changed on one thread while another saves it. What leaves it is a
// snapshot, so saving it twice delivers two bodies.

#pragma once

#include "KovaSDK/Events/EventModels/EventType.h"
#include "Platform/Foundation/AnyHashable.h"
#include "Platform/Foundation/Data.h"
#include "Platform/Foundation/Date.h"
#include "Platform/Foundation/Export.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kova {

class KOVA_EXPORT Event {
public:
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;
    virtual ~Event() = default;

    /// Fills attributes and metrics from one text, differently for each kind of event.
    virtual void start(const std::string& with) = 0;

    /// Sets an attribute; of equal types the last wins.
    void addAttribute(const std::string& type, const std::string& value);

    /// Sets a metric, rounded to the nearest whole number with ties away from zero (19.99 becomes 20); of equal types
    /// the last wins.
    void addMetric(const std::string& type, double value);

    /// Stamps the event with the current time.
    void record();

    /// Hands the event to the web service when the device is online, and to the offline buffer when it is not, or when
    /// it was not acknowledged. Online it blocks the caller until the exchange is over, ten seconds at most. Throws
    /// std::system_error with EventError::eventCantBeTransformedInJson when JSON cannot hold the event (a metric that
    /// is not finite, a key that is no text, text that is not UTF-8); nothing is logged, sent or stored then. Before
    /// the SDK was started it stops the process.
    void save();

    /// The wire body: one JSON object with audience_id, user_timestamp (seconds since 1970), player_id, type,
    /// attributes and metrics. None when JSON cannot hold it.
    [[nodiscard]] std::optional<Data> toJSON() const;

    /// The user the event belongs to. The host is expected to set it: the default is a placeholder.
    std::string userId;
    /// A raw value of EventType.
    std::string eventType;
    Date timeStamp = Date::now();
    std::map<AnyHashable, std::string> attributes;
    std::map<AnyHashable, double> metrics;

protected:
    Event(std::string defaultUserId, std::string_view rawType)
        : userId(std::move(defaultUserId))
        , eventType(rawType)
    {
    }
};

} // namespace kova
