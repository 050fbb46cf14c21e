#include "Host/ScriptRunner.h"

#include "Host/Progress.h"
#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/DispatchQueue.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <functional>
#include <mutex>

namespace kova::host {

namespace {

// What it throws is thrown here.
void onMainQueue(const std::function<void()>& task)
{
    std::exception_ptr failure;
    DispatchQueue::main().sync([&] {
        try {
            task();
        } catch (...) {
            failure = std::current_exception();
        }
    });
    if (failure)
        std::rethrow_exception(failure);
}

ScriptOutcome report(const std::string& place, const std::exception& failure, ScriptOutcome outcome)
{
    const auto line = singleLine(place + ": " + failure.what()) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    return outcome;
}

void pause(const HostContext& context)
{
    std::mutex mutex;
    std::unique_lock lock {mutex};
    std::condition_variable_any never;
    never.wait_for(
        lock, context.interruption, std::chrono::duration<double> {context.pauseSeconds}, [] { return false; });
}

// "007-select.png" for the line 7.
std::string screenshotName(std::size_t number, const std::string& line)
{
    const auto digits = std::to_string(number);
    return std::string(digits.size() < 3 ? 3 - digits.size() : 0, '0') + digits + "-" + ScriptCommand {line}.name()
        + ".png";
}

} // namespace

void runLine(const std::string& line, HostContext& context)
{
    const ScriptCommand command {line};
    const auto known = std::ranges::find(hostCommands(), command.name(), &HostCommand::name);
    if (known == hostCommands().end())
        throw ScriptError {"unknown command \"" + singleLine(command.name()) + "\" (kova-host --help lists all)"};
    const Progress progress {command.name()};
    if (known->place == HostCommand::Place::ScriptThread) {
        known->run(command, context);
        return;
    }
    onMainQueue([&] { known->run(command, context); });
}

ScriptOutcome runScript(const std::string& name, LineReader& lines, HostContext& context)
{
    auto outcome = ScriptOutcome::Done;
    std::size_t number = 0;
    while (outcome == ScriptOutcome::Done && !context.interruption.stop_requested()) {
        ++number;
        try {
            const auto line = lines.next();
            if (!line)
                break;
            if (!line->starts_with('#') && line->find_first_not_of(" \t\r") != std::string::npos) {
                runLine(*line, context);
                if (context.screenshots)
                    onMainQueue(
                        [&] { context.window.saveScreenshot(*context.screenshots / screenshotName(number, *line)); });
                pause(context);
            }
        } catch (const NotSettled& failure) {
            return report(name + ":" + std::to_string(number), failure, ScriptOutcome::NotSettled);
        } catch (const std::exception& failure) {
            outcome = report(name + ":" + std::to_string(number), failure, ScriptOutcome::Wrong);
        }
    }
    try {
        const Progress progress {"settle at the end"};
        settle(context, defaultSettleSeconds);
    } catch (const NotSettled& failure) {
        if (outcome == ScriptOutcome::Done)
            outcome = report(name, failure, ScriptOutcome::NotSettled);
    }
    return outcome;
}

} // namespace kova::host
