#include "Frameworks.h"

#include <iostream>
#include <thread>

namespace frameworks {

namespace {

std::jthread pushThread;
std::jthread geofencingThread;

} // namespace

void Push::start(const std::string&, std::function<void(PushMessage)> received)
{
    pushThread = std::jthread {[received = std::move(received)] {
        received({.id = "push-1",
            .rawJson
            = R"({"custom":{"i":"push-1","a":{"loja":"Recife"}},"aps":{"alert":{"title":"Padaria","body":"O pão saiu!"}}})"});
    }};
}

void Push::setTag(const std::string& key, const std::string& value)
{
    std::cout << "framework: tag " + key + " = " + value + "\n" << std::flush;
}

std::string Push::subscriptionId()
{
    return "device-1";
}

bool Push::askForPermission()
{
    return true;
}

void Push::stop()
{
    pushThread = {};
}

void Geofencing::start(const std::string&, std::function<void(Crossing)> crossed)
{
    geofencingThread = std::jthread {[crossed = std::move(crossed)] {
        crossed({.id = "crossing-1", .data = {{"trigger", "enter"}, {"action", R"({"loja":"Recife"})"}}});
    }};
}

void Geofencing::acknowledge(const std::string& crossingId)
{
    std::cout << "framework: " + crossingId + " is handled\n" << std::flush;
}

void Geofencing::stop()
{
    geofencingThread = {};
}

} // namespace frameworks
