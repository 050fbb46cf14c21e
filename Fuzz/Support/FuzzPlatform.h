// The platform under a fuzzer: the real store in a folder of its own, vendors and a network that are played, an HTTP
// session that answers at once, and a log of which every line is looked at.
//
// Made once a process, because opening a store costs more than using it; a fuzzer brings the state back that it needs.
// The folder lies under TMPDIR, which is best in memory.

#pragma once

#include "Fuzz/Support/InstantSession.h"
#include "Host/SimulatedNetwork.h"
#include "Host/SimulatedOneSignal.h"
#include "Host/SimulatedPlotProjects.h"
#include "Platform/Platform.h"

#include <filesystem>
#include <memory>

namespace kova::fuzz {

/// A fresh folder that goes with the object.
class FuzzFolder {
public:
    FuzzFolder();
    ~FuzzFolder();
    FuzzFolder(const FuzzFolder&) = delete;
    FuzzFolder& operator=(const FuzzFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

class FuzzPlatform {
public:
    explicit FuzzPlatform(MainLoop mainLoop);

    /// The folder of the store itself.
    [[nodiscard]] std::filesystem::path storeFolder() const;

    /// Starts the SDK as a host does, and runs what that submits. With MainLoop::Host only.
    void startSDK() const;

    const FuzzFolder folder;
    const std::shared_ptr<host::SimulatedNetwork> network = std::make_shared<host::SimulatedNetwork>();
    const std::shared_ptr<host::SimulatedOneSignal> vendor = std::make_shared<host::SimulatedOneSignal>();
    const std::shared_ptr<host::SimulatedPlotProjects> geofencing = std::make_shared<host::SimulatedPlotProjects>();
    const std::shared_ptr<InstantSession> session = std::make_shared<InstantSession>();
    DevicePlatform platform;
};

} // namespace kova::fuzz
