// What closed frameworks for push and for geofencing typically look like. These two stand in for yours: each calls back
// once, on a thread of its own, and does nothing else.

#pragma once

#include <functional>
#include <map>
#include <string>

namespace frameworks {

struct PushMessage {
    std::string id;
    /// The JSON that reached the device.
    std::string rawJson;
};

class Push {
public:
    static void start(const std::string& applicationId, std::function<void(PushMessage)> received);
    static void setTag(const std::string& key, const std::string& value);
    /// Empty before the device is registered.
    static std::string subscriptionId();
    static bool askForPermission();
    /// Ends the framework's thread.
    static void stop();
};

struct Crossing {
    std::string id;
    /// What was attached to the fence: "action" and others.
    std::map<std::string, std::string> data;
};

class Geofencing {
public:
    static void start(const std::string& token, std::function<void(Crossing)> crossed);
    static void acknowledge(const std::string& crossingId);
    static void stop();
};

} // namespace frameworks
