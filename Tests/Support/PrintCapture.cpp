#include "Tests/Support/PrintCapture.h"

#include "Platform/Foundation/Print.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace kova::tests {

namespace {

std::mutex mutex;
std::condition_variable_any changed;
std::vector<std::string> captured;
PrintSink previous = nullptr;

} // namespace

PrintCapture::PrintCapture()
{
    captured.clear();
    previous = setPrintSink([](std::string_view line) {
        const std::lock_guard lock {mutex};
        captured.emplace_back(line.substr(0, line.size() - 1));
        changed.notify_all();
    });
}

PrintCapture::~PrintCapture()
{
    setPrintSink(previous);
}

std::vector<std::string> PrintCapture::lines() const
{
    const std::lock_guard lock {mutex};
    return captured;
}

std::vector<std::string> PrintCapture::takeLines()
{
    const std::lock_guard lock {mutex};
    return std::exchange(captured, {});
}

bool PrintCapture::waitForLast(std::string_view beginning, std::string_view line) const
{
    std::unique_lock lock {mutex};
    return changed.wait_for(lock, std::chrono::seconds {10}, [&] {
        const auto last = std::find_if(captured.rbegin(), captured.rend(),
            [beginning](const auto& candidate) { return candidate.starts_with(beginning); });
        return last != captured.rend() && *last == line;
    });
}

} // namespace kova::tests
