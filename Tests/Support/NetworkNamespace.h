// A network of the test's own: a namespace with a loopback, and a virtual cable between "eth0" and "peer0".
//
// A namespace is entered by a whole process, so a test starts itself anew inside one. Needs iproute2 and the right to
// make namespaces; where that is missing the test is skipped, saying so. Threads: one at a time.

#pragma once

#include "Tests/Support/FileDescriptor.h"
#include "Tests/Support/TemporaryFolder.h"

#include <filesystem>
#include <optional>
#include <string>

namespace kova::tests {

class NetworkNamespace {
public:
    /// Whether this process is the one that was started inside.
    [[nodiscard]] static bool isInside();

    /// Runs the current test in a process of its own inside a new namespace, and takes over its result.
    static void runThisTestInside();

    /// To be made inside. Brings the loopback up and makes the cable: eth0 is 10.9.0.1/24, and both ends are down.
    NetworkNamespace();

    /// Brings both ends of the cable up and adds a default route over it.
    void connect() const;

    /// Runs a command; the test fails when that fails.
    void run(const std::string& command) const;
    /// Runs many `ip` commands, one a line, in one process.
    void runBatch(const std::string& commands) const;

    /// Makes a link of the kind that modems have, raw IP, with the address 10.8.0.1/24; it exists while the result
    /// lives. None where that is not permitted.
    [[nodiscard]] std::optional<FileDescriptor> makeRawIPLink(const std::string& name) const;

    /// Where sysfs shows this namespace's links; an empty folder where it may not be mounted.
    [[nodiscard]] const std::filesystem::path& sysfsRoot() const { return m_folder.path(); }

private:
    TemporaryFolder m_folder;
};

} // namespace kova::tests
