// One run of kova-host over a script, and what came of it.

#pragma once

#include "Platform/Foundation/Value.h"
#include "Tests/Support/Process.h"
#include "Tests/Support/TemporaryFolder.h"

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
    /// Base address of the web services, "http://127.0.0.1:PORT", or nothing to reach none.
    std::string services = "http://127.0.0.1:9";
    std::filesystem::path bundle = KOVA_RESOURCES_DIR;
    /// The simulated network is offline until the script switches it, and says nothing before.
    std::string network = "simulated";
    /// More of the command line.
    std::vector<std::string> options {};

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

/// A script line that pushes a payload.
[[nodiscard]] std::string push(const Value::Dictionary& payload);
/// The same for a payload with this id and a short text.
[[nodiscard]] std::string pushWithId(const std::string& id);

} // namespace kova::tests
