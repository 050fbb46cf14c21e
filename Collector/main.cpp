// kova-collector: a loopback web service that plays the SDK's web services. See --help.

#include "Collector/CollectorOptions.h"
#include "Collector/CollectorServer.h"
#include "Collector/RequestLog.h"
#include "Platform/Linux/StandardStreams.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

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

    // Blocked before any thread begins, so that only the one that waits for them takes them.
    sigset_t endings;
    sigemptyset(&endings);
    sigaddset(&endings, SIGTERM);
    sigaddset(&endings, SIGINT);
    pthread_sigmask(SIG_BLOCK, &endings, nullptr);
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
    std::thread ending {[&] {
        int signal = 0;
        sigwait(&endings, &signal);
        server.stop();
    }};
    std::cout << "listening on http://127.0.0.1:" + std::to_string(*port) + "\n" << std::flush;

    const bool isStopped = server.run();
    // Does nothing when the signal has been, and ends the wait when the server gave up by itself.
    // The signal is blocked everywhere and only waited for, so no thread dies of it.
    // NOLINTNEXTLINE(bugprone-bad-signal-to-kill-thread)
    pthread_kill(ending.native_handle(), SIGTERM);
    ending.join();
    return isStopped ? EXIT_SUCCESS : fail(EXIT_FAILURE, "the service ended unexpectedly");
}
