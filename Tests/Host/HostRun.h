// One run of kova-host over a script, and what came of it.

#pragma once

#include "Platform/Foundation/Value.h"
#include "Tests/Support/Process.h"
#include "Tests/Support/TemporaryFolder.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kova::tests {

inline const ProcessEnd success {.exitStatus = 0};

// Script lines that many scripts have.
inline const std::string start = "{\"do\":\"start\"}\n";
inline const std::string settle = "{\"do\":\"settle\"}\n";
inline const std::string buffer = "{\"do\":\"buffer\"}\n";
inline const std::string inbox = "{\"do\":\"inbox\"}\n";

struct HostResult {
    std::optional<ProcessEnd> end {};
    /// Standard output, line by line.
    std::vector<std::string> log {};
    std::string errors {};
    std::vector<Value> answers {};

    [[nodiscard]] std::size_t count(std::string_view line) const;
};

/// A data folder with which kova-host is run, once or several times.
class HostFolder {
public:
    /// The web services are at this port; by default nobody listens there.
    explicit HostFolder(std::uint16_t port = 9)
        : services("http://127.0.0.1:" + std::to_string(port))
    {
    }

    /// Base address of the web services.
    std::string services;
    /// The simulated network is offline until the script switches it, and says nothing before.
    std::string network = "simulated";
    /// More of the command line.
    std::vector<std::string> options {};
    /// What starts the host, given its command line; nothing when it is started as it is.
    std::vector<std::string> launcher {};

    /// Starts the host over a script file with these lines; without lines it reads its standard input.
    [[nodiscard]] std::unique_ptr<Process> start(const std::optional<std::string>& script = {}) const;
    [[nodiscard]] HostResult run(const std::string& script) const;
    /// Waits for a host and gathers what it left.
    [[nodiscard]] HostResult finish(Process& host) const;

    /// The ids in the inbox, newest first, as a fresh process reads them.
    [[nodiscard]] std::vector<std::string> inboxIds();

    [[nodiscard]] const std::filesystem::path& path() const { return m_folder.path(); }

private:
    TemporaryFolder m_folder;
};

/// A script line with a command's other fields as JSON writes them.
[[nodiscard]] std::string command(const std::string& name, const std::string& fields = {});
[[nodiscard]] std::string switchNetwork(const std::string& status);
/// Saves an event that was started with this text; and the text of such an event, from its body in an answer.
[[nodiscard]] std::string saveEvent(const std::string& text);
[[nodiscard]] std::string savedText(const Value& body);
/// A script line that pushes a payload.
[[nodiscard]] std::string push(const Value::Dictionary& payload);
/// The same for a payload with this id and a short text.
[[nodiscard]] std::string pushWithId(const std::string& id);

} // namespace kova::tests
