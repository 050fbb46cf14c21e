// The geofencing vendor, played: geotriggers go in, the SDK's delegate gets them as one batch on a thread of the
// vendor's own.
//
// Threads: any.

#pragma once

#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Vendors/PlotProjects.h"

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>

namespace kova::host {

class SimulatedPlotProjects final : public PlotDebug {
public:
    /// What the delegate made of the configuration when the vendor was last started.
    struct Loaded {
        std::string publicToken {};
        /// How often the completion was called.
        int completions = 0;
    };

    /// A geotrigger as this vendor fires it: with this data if there is any, and plausible values beside it.
    [[nodiscard]] static std::shared_ptr<const PlotGeotrigger> fired(const std::optional<Value>& data);

    /// Remembers the delegate and has it load the configuration before this returns.
    void initializeWithLaunchOptions(
        const std::optional<AnyDictionary>& launchOptions, std::weak_ptr<PlotDelegate> delegate) override;

    [[nodiscard]] Loaded loaded() const;

    /// The geotriggers fire together: hands them to the delegate and waits until it is done with them. Returns how many
    /// of them it has marked handled. Before the start, or when the delegate is gone, they reach nobody.
    [[nodiscard]] std::size_t fire(PlotHandleGeotriggers::List geotriggers);

private:
    class Batch;
    class Configuration;

    mutable std::mutex m_mutex;
    std::weak_ptr<PlotDelegate> m_delegate;
    Loaded m_loaded;
    std::shared_ptr<DispatchQueue> m_queue = DispatchQueue::create("geofencing");
};

} // namespace kova::host
