// What a host and its vendors make the SDK do, each piece marked so that it can be recognised whole or torn.
//
// Threads: any.

#pragma once

#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/RecordingOneSignal.h"

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace kova {
class KovaGeotrigger;
}

namespace kova::tests {

class Traffic {
public:
    /// The SDK must have been started with this vendor.
    explicit Traffic(std::shared_ptr<RecordingOneSignal> vendor);

    void push(const std::string& mark);
    void save(const std::string& mark);
    /// A batch that is skipped, and one geotrigger that is tagged and uploaded.
    void fireGeotriggers(const std::string& mark);

    /// How many of each there were.
    std::atomic<int> pushes = 0;
    std::atomic<int> events = 0;
    std::atomic<int> uploads = 0;

    /// What is stored and what was sent must be whole, whoever wrote at the same time; the test fails when it is not.
    static void expectWholeStore();
    static void expectWhole(const std::vector<RecordedRequest>& requests);

private:
    const std::shared_ptr<RecordingOneSignal> m_vendor;
    const std::shared_ptr<KovaGeotrigger> m_geotrigger;
};

} // namespace kova::tests
