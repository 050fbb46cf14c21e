// The host of a script, in process: its window, its vendors and its commands, brought back to the beginning before each
// script.
//
// What stops the process by contract is left out, and so are the commands that touch files of the script's choice. One
// thread, which is not the main queue's.

#pragma once

#include "Fuzz/Support/FuzzPlatform.h"
#include "Fuzz/Support/HeldClock.h"
#include "Host/HeadlessWindow.h"
#include "Host/HostCommands.h"

#include <memory>
#include <string>

namespace kova::fuzz {

class ScriptHost {
public:
    ScriptHost();
    ~ScriptHost();
    ScriptHost(const ScriptHost&) = delete;
    ScriptHost& operator=(const ScriptHost&) = delete;

    void reset();

    /// Runs one line and all that it leads to; false when it is wrong, which ends a script.
    bool run(const std::string& line);

private:
    [[nodiscard]] bool mayRun(const host::ScriptCommand& command);
    void settle();
    void openWindow();
    void closeWindow();

    FuzzPlatform m_platform {MainLoop::PlatformThread};
    std::shared_ptr<HeldClock> m_clock = std::make_shared<HeldClock>();
    host::Answers m_answers {"/dev/null"};
    std::shared_ptr<host::SimulatedOneSignal> m_vendor;
    std::unique_ptr<host::HeadlessWindow> m_window;
    std::unique_ptr<host::HostContext> m_context;
    bool m_isStarted = false;
    /// Whether a command has run since everything was at its beginning.
    bool m_isUsed = true;
};

} // namespace kova::fuzz
