#include "Platform/Foundation/Print.h"

#include "Platform/Foundation/Description.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

namespace kova {

namespace {

struct Log {
    std::mutex mutex;
    PrintSink sink = nullptr;
};

Log& log()
{
    // Never destroyed: a thread may still print while main's statics go away.
    static auto& instance = *new Log;
    return instance;
}

} // namespace

PrintSink setPrintSink(PrintSink sink)
{
    const std::lock_guard lock {log().mutex};
    return std::exchange(log().sink, sink);
}

void printLine(std::string line)
{
    line += '\n';
    const std::lock_guard lock {log().mutex};
    if (log().sink) {
        log().sink(line);
        return;
    }
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

void complain(std::string_view message)
{
    const auto line = singleLine(message) + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

void fatalError(std::string_view message)
{
    complain("Fatal error: " + std::string {message});
    std::abort();
}

} // namespace kova
