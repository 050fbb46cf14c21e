// kova-collector: a loopback web service that plays the SDK's web services. See --help.

#include "Collector/CollectorOptions.h"
#include "Collector/CollectorServer.h"
#include "Collector/RequestLog.h"
#include "Platform/Posix/StandardStreams.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>

using namespace kova::collector;

namespace {

constexpr int usageError = 2;

int fail(int status, const std::string& message)
{
    std::cerr << "kova-collector: " + message + "\n";
    return status;
}

} // namespace

int main(int count, char** arguments)
{
    kova::holdStandardStreams();
    const auto options = CollectorOptions::fromArguments({arguments + 1, arguments + std::max(count, 1)});
    if (!options)
        return fail(usageError, options.error() + " (see kova-collector --help)");
    if (options->help) {
        std::cout << helpText() << std::flush;
        return std::cout ? EXIT_SUCCESS : fail(EXIT_FAILURE, "not all could be written to standard output");
    }

    std::signal(SIGPIPE, SIG_IGN);

    std::unique_ptr<RequestLog> log;
    if (options->logFile) {
        auto opened = RequestLog::open(*options->logFile);
        if (!opened)
            return fail(usageError, "cannot write the log '" + *options->logFile + "': " + opened.error().message());
        log = *std::move(opened);
    }

    CollectorServer server {*options, log.get()};
    const auto port = server.bind();
    if (!port) {
        return fail(EXIT_FAILURE,
            "cannot listen on 127.0.0.1 port " + std::to_string(options->port) + ": " + port.error().message());
    }
    std::cout << "listening on http://127.0.0.1:" + std::to_string(*port) + "\n" << std::flush;

    server.run();
    return EXIT_SUCCESS;
}
