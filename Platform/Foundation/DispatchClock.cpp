#include "Platform/Foundation/DispatchClock.h"

#include "Platform/Foundation/ServiceSlot.h"
#include "Platform/Foundation/TimerThread.h"

#include <utility>

namespace kova {

namespace {

const std::shared_ptr<DispatchClock>& timerThread()
{
    // Never destroyed: its thread may outlive main's statics when no platform object ends it.
    static const auto& clock = *new std::shared_ptr<DispatchClock> {std::make_shared<TimerThread>()};
    return clock;
}

} // namespace

std::shared_ptr<DispatchClock> DispatchClock::shared()
{
    auto clock = ServiceSlot<DispatchClock>::current();
    return clock ? clock : timerThread();
}

std::shared_ptr<DispatchClock> DispatchClock::setShared(std::shared_ptr<DispatchClock> clock)
{
    auto before = ServiceSlot<DispatchClock>::exchange(std::move(clock));
    return before ? before : timerThread();
}

void DispatchClock::dropEverything()
{
    shared()->dropAll();
    timerThread()->dropAll();
}

} // namespace kova
