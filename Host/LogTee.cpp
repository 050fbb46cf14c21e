#include "Host/LogTee.h"

#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Posix/StandardStreams.h"

#include <mutex>
#include <utility>

namespace kova::host {

namespace {

std::mutex mutex;
std::vector<std::string> waiting;
// Touched on the main queue only.
std::function<void(const std::vector<std::string>&)> receiver;

void handOn()
{
    std::vector<std::string> lines;
    {
        const std::lock_guard lock {mutex};
        lines = std::exchange(waiting, {});
    }
    if (receiver && !lines.empty())
        receiver(lines);
}

} // namespace

LogTee::LogTee(std::function<void(const std::vector<std::string>&)> receive)
{
    receiver = std::move(receive);
    setPrintSink([](std::string_view line) {
        writeToStandardOutput(line);
        {
            const std::lock_guard lock {mutex};
            waiting.emplace_back(line.substr(0, line.size() - 1));
            if (waiting.size() > 1)
                return;
        }
        DispatchQueue::main().async(&handOn);
    });
}

LogTee::~LogTee()
{
    setPrintSink(&writeToStandardOutput);
    receiver = nullptr;
}

} // namespace kova::host
