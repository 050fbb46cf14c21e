#include "Host/HostCommands.h"

#include "Host/CentreCommands.h"
#include "Host/EventCommand.h"
#include "Host/GeotriggerCommands.h"
#include "KovaSDK/Events/EventServices/EventStorage.h"
#include "KovaSDK/KovaKeysManager.h"
#include "KovaSDK/KovaSDK.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "KovaSDK/Services/Networking/KovaNetwork.h"
#include "Platform/Foundation/Unicode.h"
#include "Platform/Foundation/UserDefaults.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <future>
#include <memory>

namespace kova::host {

namespace {

using Place = HostCommand::Place;

Value orNull(const std::optional<std::string>& text)
{
    return text ? Value {*text} : Value {};
}

void start(const ScriptCommand& command, HostContext&)
{
    if (command.optionalBoolean("plain").value_or(false))
        KovaNotify::initWith(command.launchOptions(), {}, std::nullopt);
    else
        KovaNotify::initWithCallbacks(command.launchOptions());
}

void push(const ScriptCommand& command, HostContext& context)
{
    context.vendor.receive(command.object("payload"));
}

void open(const ScriptCommand& command, HostContext& context)
{
    context.vendor.open(command.object("payload"), command.optionalText("action"));
}

void prompt(const ScriptCommand& command, HostContext& context)
{
    context.vendor.setAnswerToPrompt(command.boolean("accepted"));
    auto answer = std::make_shared<std::promise<bool>>();
    auto accepted = answer->get_future();
    DispatchQueue::main().sync([answer = std::move(answer)] {
        KovaNotify::promptForPushNotifications([answer](bool isAccepted) { answer->set_value(isAccepted); });
    });
    context.answers.write({{"prompt", accepted.get()}});
}

void tag(const ScriptCommand& command, HostContext& context)
{
    KovaNotify::sendTag(command.textOrNull("key"), command.textOrNull("value"));
    context.answers.write({{"tag", context.vendor.tags()}});
}

void playerId(const ScriptCommand&, HostContext& context)
{
    context.answers.write({{"player-id", orNull(KovaNotify::getPlayerID())}});
}

void subscribe(const ScriptCommand& command, HostContext& context)
{
    context.vendor.setUserId(command.textOrNull("userId"));
}

void extension(const ScriptCommand& command, HostContext& context)
{
    auto request = std::make_shared<UNNotificationRequest>();
    request->userInfo = command.object("payload");
    auto content = std::make_shared<UNMutableNotificationContent>();
    if (command.optionalBoolean("expired").value_or(false))
        KovaNotify::serviceExtensionTimeWillExpireRequest(request, content);
    else
        KovaNotify::didReceiveNotificationExtensionRequest(request, content);
    Value::Array attachments;
    for (const auto& attachment : content->attachments)
        attachments.append(attachment);
    context.answers.write({{"extension",
        Value::Dictionary {{"title", content->title}, {"subtitle", content->subtitle}, {"body", content->body},
            {"attachments", attachments}}}});
}

void inbox(const ScriptCommand&, HostContext& context)
{
    Value::Array records;
    for (const auto& notification : NotificationStorage::buffer())
        records.append(notification.encode());
    context.answers.write({{"inbox", records}, {"unread", NotificationStorage::totalUnreadNotifications()}});
}

void network(const ScriptCommand& command, HostContext& context)
{
    if (!context.network)
        throw ScriptError {"network: the host follows the real network; run it with --network simulated"};
    if (!context.network->setStatus(command.text("status")))
        throw ScriptError {"network: the field \"status\" must be \"wifi\", \"wwan\" or \"offline\""};
}

void event(const ScriptCommand& command, HostContext& context)
{
    context.answers.write(saveEvent(command));
}

void buffer(const ScriptCommand&, HostContext& context)
{
    Value::Array bodies;
    for (const auto& body : EventStorage {}.buffer())
        bodies.append(repairedUTF8(body.as<Data>()->text()));
    context.answers.write({{"buffer", bodies}});
}

void status(const ScriptCommand&, HostContext& context)
{
    const bool isStarted = KovaNetwork::reachability() != nullptr;
    context.answers.write({{"status", isStarted ? Value {rawValue(KovaNetwork::status())} : Value {}}});
}

void settleCommand(const ScriptCommand& command, HostContext& context)
{
    constexpr double longest = 24.0 * 60 * 60;
    const auto seconds = command.optionalNumber("seconds").value_or(defaultSettleSeconds);
    if (!(seconds >= 0 && seconds <= longest))
        throw ScriptError {"settle: the field \"seconds\" must be between 0 and 86400"};
    settle(context, seconds);
}

void config(const ScriptCommand&, HostContext& context)
{
    const KovaKeyManager keys;
    context.answers.write({{"config",
        Value::Dictionary {{"geoID", keys.get(KovaKey::geoID)}, {"audienceID", keys.get(KovaKey::audienceID)},
            {"notificationID", keys.get(KovaKey::notificationID)}, {"apiKey", keys.get(KovaKey::apiKey)}}}});
}

void defaultsGet(const ScriptCommand& command, HostContext& context)
{
    const auto key = command.text("key");
    const auto file = command.text("file");
    const auto stored = UserDefaults::standard()->object(key);
    const auto* data = stored ? stored->as<Data>() : nullptr;
    if (data) {
        std::ofstream stream {file, std::ios::binary | std::ios::trunc};
        stream << data->text() << std::flush;
        if (!stream)
            throw ScriptError {"defaults-get: cannot write " + file + ": " + std::strerror(errno)};
    }
    context.answers.write({{"defaults-get", key}, {"bytes", data ? Value {data->size()} : Value {}}});
}

void defaultsSet(const ScriptCommand& command, HostContext& context)
{
    const auto key = command.text("key");
    const auto file = command.text("file");
    constexpr std::size_t largestFile = 1024UL * 1024 * 1024;
    const auto data = Data::contentsOf(file, largestFile);
    if (!data)
        throw ScriptError {"defaults-set: cannot read " + file + " as a regular file"};
    UserDefaults::standard()->setObject(key, *data);
    context.answers.write({{"defaults-set", key}, {"bytes", data->size()}});
}

constexpr std::array commands {
    HostCommand {"start", "[launchOptions: object, plain: boolean]",
        "starts the SDK: KovaNotify::initWithCallbacks; a plain start, initWith, has neither inbox nor metrics",
        Place::MainQueue, &start},
    HostCommand {
        "push", "payload: object", "a push arrives: the raw JSON that reaches a device", Place::MainQueue, &push},
    HostCommand {"open", "payload: object, [action: text]",
        "the user opens a push by a tap, or by pressing the button with that id", Place::MainQueue, &open},
    HostCommand {"prompt", "accepted: boolean",
        "asks the user for push permission, who answers so; answers {\"prompt\":…}", Place::ScriptThread, &prompt},
    HostCommand {"tag", "key: text or null, value: text or null",
        "tags this device; answers {\"tag\":{…all tags the vendor has…}}", Place::MainQueue, &tag},
    HostCommand {"player-id", "", "answers {\"player-id\":…}, null while not subscribed", Place::MainQueue, &playerId},
    HostCommand {"subscribe", "userId: text or null",
        "the vendor gives this device a subscription id, or takes it away", Place::MainQueue, &subscribe},
    HostCommand {"extension", "payload: object, [expired: boolean]",
        "runs the notification service extension, or what it does when its time runs out; answers "
        "{\"extension\":{…what would be shown…}}",
        Place::MainQueue, &extension},
    HostCommand {"inbox", "", "answers {\"inbox\":[…records, newest first…],\"unread\":n}", Place::MainQueue, &inbox},
    HostCommand {"network", "status: \"wifi\", \"wwan\" or \"offline\"",
        "switches the network, which begins offline (with --network simulated only)", Place::MainQueue, &network},
    HostCommand {"event",
        "kind: class name, type: raw value, [text, userId: text], [attributes, metrics: object], [record: boolean]",
        "makes an event, fills it (start(with) when there is a text) and saves it; answers {\"saved\":true}, or "
        "{\"saved\":false,\"error\":…}; a metric may also be \"nan\", \"inf\" or \"-inf\"",
        Place::MainQueue, &event},
    HostCommand {"buffer", "", "answers {\"buffer\":[…buffered event bodies as text, oldest first…]}", Place::MainQueue,
        &buffer},
    HostCommand {"status", "", "answers {\"status\":\"wifi\"}, \"wwan\" or \"unreachable\"; null before the start",
        Place::MainQueue, &status},
    HostCommand {"geo-start", "[launchOptions: object]",
        "starts a KovaGeotrigger; answers {\"geo-start\":{\"publicToken\":…,\"completions\":n}}, the token that the "
        "vendor was given and how often the configuration's completion was called",
        Place::MainQueue, &startGeotriggers},
    HostCommand {"geotriggers", "geotriggers: list of objects, each [data: anything] or [userInfo: object or null]",
        "they fire together; answers {\"geotriggers\":{\"handled\":n}}, how many of them the vendor saw marked "
        "handled. The data is that of the geotrigger, as a text when it is as it should be; a whole userInfo has it "
        "under \"action\"; without a userInfo (null) the process stops",
        Place::ScriptThread, &fireGeotriggers},
    HostCommand {"geo-upload", "data: text",
        "uploads the text as one geotrigger's data and waits; answers {\"geo-upload\":{\"success\":true}}, whatever "
        "the reply's status, or {\"geo-upload\":{\"failure\":…}}",
        Place::ScriptThread, &uploadGeotrigger},
    HostCommand {"centre", "action: \"open\" or \"close\"",
        "opens the notification centre over the host's screen, or closes it", Place::MainQueue, &centre},
    HostCommand {"select", "row: number", "taps a row of the list", Place::MainQueue, &selectRow},
    HostCommand {"swipe-delete", "row: number", "swipes a row of the list away", Place::MainQueue, &swipeDelete},
    HostCommand {"scroll", "offset: number", "scrolls the list: so many points of it lie above the screen",
        Place::MainQueue, &scroll},
    HostCommand {"back", "", "goes back from the detail screen, or closes the browser", Place::MainQueue, &back},
    HostCommand {"trash", "", "presses the trash button of the detail screen", Place::MainQueue, &trash},
    HostCommand {"alert", "button: text", "presses the alert's button with that title", Place::MainQueue, &answerAlert},
    HostCommand {"open-link", "", "presses the detail screen's link button", Place::MainQueue, &openLink},
    HostCommand {"restyle", "property: text, rgba: list of four numbers from 0 to 1",
        "sets a colour of CentralLayout, for what is built from then on", Place::MainQueue, &restyle},
    HostCommand {"badge", "action: \"add\", \"update\" or \"remove\"",
        "puts the number of unread entries on the bell in the host's bar, or takes it off", Place::MainQueue,
        &barBadge},
    HostCommand {"button-badge", "text: text or null, [insets: list of four numbers: top, left, bottom, right]",
        "sets the badge of the host's button", Place::MainQueue, &buttonBadge},
    HostCommand {"size", "width, height: number", "gives the window another size, in points (390 x 844 at first)",
        Place::MainQueue, &resize},
    HostCommand {"screen", "", "answers {\"screen\":…}: what is on top of the screen, see docs/formats.md",
        Place::MainQueue, &screen},
    HostCommand {"settle", "[seconds: number]",
        "waits (15 s at most, or so many) until every HTTP task has completed and every queue is idle; else exit "
        "status 3",
        Place::ScriptThread, &settleCommand},
    HostCommand {"config", "",
        "answers {\"config\":{\"geoID\":…,\"audienceID\":…,\"notificationID\":…,\"apiKey\":…}} as the SDK reads them",
        Place::MainQueue, &config},
    HostCommand {"defaults-get", "key: text, file: text",
        "copies the data stored under a key to a file; answers its size in \"bytes\", null when there is none",
        Place::MainQueue, &defaultsGet},
    HostCommand {"defaults-set", "key: text, file: text", "stores a file's bytes as data under a key", Place::MainQueue,
        &defaultsSet},
};

} // namespace

std::span<const HostCommand> hostCommands()
{
    return commands;
}

void settle(HostContext& context, double seconds)
{
    const auto timeout = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::duration<double> {seconds});
    if (!context.platform.settle(timeout, context.interruption) && !context.interruption.stop_requested())
        throw NotSettled {"requests or queue tasks were still under way after the time given to settle"};
}

} // namespace kova::host
