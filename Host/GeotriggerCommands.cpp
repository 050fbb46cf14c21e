#include "Host/GeotriggerCommands.h"

#include "KovaSDK/Geolocation/GeolocationServices/KovaGeoService.h"

#include <semaphore>

namespace kova::host {

namespace {

std::shared_ptr<const PlotGeotrigger> geotrigger(const Value& described)
{
    if (!described.as<Value::Dictionary>())
        throw ScriptError {"geotriggers: each of the list must be an object"};
    const auto* data = described.find("data");
    const auto* userInfo = described.find("userInfo");
    if (!userInfo)
        return SimulatedPlotProjects::fired(data ? std::optional {*data} : std::nullopt);
    if (data)
        throw ScriptError {"geotriggers: a whole \"userInfo\" has its data under \""
            + std::string {PlotGeotriggerDataKey} + "\", so there is no \"data\" beside it"};
    const auto* entries = userInfo->as<Value::Dictionary>();
    if (!entries && !userInfo->isNull())
        throw ScriptError {"geotriggers: \"userInfo\" must be an object or null"};
    return std::make_shared<PlotGeotrigger>(
        PlotGeotrigger {.userInfo = entries ? std::optional {*entries} : std::nullopt});
}

// Owned by the completion, too: releasing a semaphore touches it after the waiter may have gone on.
struct Upload {
    std::binary_semaphore done {0};
    std::expected<Value, std::error_code> result;
};

} // namespace

void startGeotriggers(const ScriptCommand& command, HostContext& context)
{
    context.geotrigger = std::make_shared<KovaGeotrigger>(command.launchOptions());
    context.geotrigger->start();
    const auto loaded = context.geofencing.loaded();
    context.answers.write(
        {{"geo-start", Value::Dictionary {{"publicToken", loaded.publicToken}, {"completions", loaded.completions}}}});
}

void fireGeotriggers(const ScriptCommand& command, HostContext& context)
{
    PlotHandleGeotriggers::List fired;
    for (const auto& described : command.list("geotriggers"))
        fired.push_back(geotrigger(described));
    context.answers.write(
        {{"geotriggers", Value::Dictionary {{"handled", context.geofencing.fire(std::move(fired))}}}});
}

void uploadGeotrigger(const ScriptCommand& command, HostContext& context)
{
    const auto upload = std::make_shared<Upload>();
    KovaGeoService {URLSession::shared()}.postGeotriggers(Data {command.text("data")}, [upload](auto result) {
        upload->result = std::move(result);
        upload->done.release();
    });
    upload->done.acquire();
    const auto& result = upload->result;
    context.answers.write({{"geo-upload",
        result ? Value::Dictionary {{"success", *result}}
               : Value::Dictionary {{"failure", result.error().message()}}}});
}

} // namespace kova::host
