// The system's network service, played on a private system bus by network_manager.py.

#pragma once

#include "Tests/Support/Process.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace kova::tests {

class NetworkManager {
public:
    enum class State { Disconnected = 20, Local = 50, Site = 60, Global = 70 };
    enum class Device { Ethernet = 1, Modem = 8 };

    /// Make it before anything asks for the system bus, whose address a process reads once. The network is Ethernet,
    /// disconnected at first.
    NetworkManager()
    {
        const auto line = m_process.waitForOutputLine(bus);
        m_runs = line.has_value();
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", m_runs ? line->c_str() + bus.size() : "unix:path=/nonexistent", 1);
    }

    /// Lets the service end the bus, too: neither ends with a process that is killed.
    ~NetworkManager()
    {
        m_process.closeInput();
        EXPECT_TRUE(m_process.wait());
    }
    NetworkManager(const NetworkManager&) = delete;
    NetworkManager& operator=(const NetworkManager&) = delete;

    [[nodiscard]] bool runs() const { return m_runs; }
    /// What the service has complained of.
    [[nodiscard]] std::string errors() const { return m_process.standardError(); }

    void set(State state) { tell("state " + std::to_string(static_cast<int>(state))); }
    void set(Device device) { tell("device " + std::to_string(static_cast<int>(device))); }

private:
    static constexpr std::string_view bus = "bus ";

    void tell(const std::string& command)
    {
        m_process.writeInput(command + "\n");
        ASSERT_TRUE(m_process.waitForOutputLine("done")) << m_process.standardError();
    }

    Process m_process {{.executable = KOVA_NETWORK_MANAGER}};
    bool m_runs = false;
};

/// The one of this process; null inside a network namespace, where no such service runs.
[[nodiscard]] NetworkManager* networkManager();

} // namespace kova::tests
