#include "Fuzz/Support/ScriptHost.h"

#include "Fuzz/Fuzzing.h"
#include "Host/PushPayload.h"
#include "Host/ScriptRunner.h"
#include "KovaSDK/Events/EventServices/EventStorage.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "KovaSDK/Services/Networking/KovaNetwork.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/Foundation/UserDefaults.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace kova::fuzz {

namespace {

// A tap on a push that carries additional data without "actionSelected" stops the process.
bool isFatalToOpen(const host::ScriptCommand& command)
{
    const auto payload = host::decodedPayload(command.object("payload"));
    return payload && payload->additionalData && !command.optionalText("action")
        && !payload->additionalData->contains("actionSelected");
}

// And so does a geotrigger without a user info.
bool hasNoUserInfo(const Value& geotrigger)
{
    const auto* userInfo = geotrigger.find("userInfo");
    return userInfo && userInfo->isNull();
}

} // namespace

ScriptHost::ScriptHost()
{
    DispatchClock::setShared(m_clock);
    reset();
}

ScriptHost::~ScriptHost()
{
    closeWindow();
    KovaNetwork::setReachability(nullptr);
}

void ScriptHost::reset()
{
    if (!std::exchange(m_isUsed, false))
        return;
    closeWindow();
    NotificationCenter::default_().removeAllObservers();
    KovaNetwork::setReachability(nullptr);
    require(m_platform.network->setStatus("offline"));
    settle();
    m_clock->dropAll();
    (void)m_platform.session->takeRequests();
    for (const auto* key : {NotificationStorage::key, EventStorage::key})
        UserDefaults::standard()->setObject(key, std::nullopt);
    m_vendor = std::make_shared<host::SimulatedOneSignal>();
    OneSignal::setShared(m_vendor);
    m_isStarted = false;
    openWindow();
}

bool ScriptHost::run(const std::string& line)
{
    try {
        if (!mayRun(host::ScriptCommand {line}))
            return true;
        m_isUsed = true;
        host::runLine(line, *m_context);
    } catch (const std::exception&) {
        settle();
        return false;
    }
    // Animations follow one another; none goes on for ever.
    constexpr int mostDelays = 64;
    for (int delay = 0; delay < mostDelays; ++delay) {
        settle();
        if (!m_clock->advance())
            return true;
    }
    return true;
}

bool ScriptHost::mayRun(const host::ScriptCommand& command)
{
    const auto& name = command.name();
    if (name == "defaults-get" || name == "defaults-set")
        return false;
    // A second start registers a second observer, and overlapping releases of the buffer may stop the process.
    if (name == "start")
        return !std::exchange(m_isStarted, true);
    if (name == "event")
        return KovaNetwork::reachability() != nullptr;
    if (name == "open")
        return !isFatalToOpen(command);
    return name != "geotriggers" || std::ranges::none_of(command.list("geotriggers"), &hasNoUserInfo);
}

void ScriptHost::settle()
{
    require(m_platform.platform.settle(std::chrono::seconds {10}));
}

void ScriptHost::openWindow()
{
    DispatchQueue::main().sync([this] {
        m_window = std::make_unique<host::HeadlessWindow>(std::make_shared<host::HostScreen>());
        m_context = std::make_unique<host::HostContext>(host::HostContext {m_platform.platform, *m_vendor,
            *m_platform.geofencing, *m_window, m_platform.network.get(), m_answers, std::stop_token {}});
    });
}

void ScriptHost::closeWindow()
{
    DispatchQueue::main().sync([this] {
        m_context.reset();
        m_window.reset();
    });
}

} // namespace kova::fuzz
