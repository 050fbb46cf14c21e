#include "Tests/Host/HostRun.h"

#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/JSONSerialization.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace kova::tests {

namespace {

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream {text};
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

} // namespace

std::size_t HostResult::count(std::string_view line) const
{
    return static_cast<std::size_t>(std::ranges::count(log, line));
}

std::unique_ptr<Process> HostFolder::start(const std::optional<std::string>& script) const
{
    Process::Options process {.executable = std::filesystem::path {KOVA_BIN_DIR} / "kova-host"};
    process.arguments = {"--network", network, "--data", path() / "data", "--bundle", KOVA_RESOURCES_DIR, "--answers",
        path() / "answers", "--metrics-url", services + "/v2/", "--events-url", services + "/v2/", "--geotriggers-url",
        services + "/v1/geotriggers/"};
    process.arguments.insert(process.arguments.end(), options.begin(), options.end());
    if (script) {
        std::ofstream {path() / "script"} << *script;
        process.arguments.push_back(path() / "script");
    }
    if (!launcher.empty()) {
        process.arguments.insert(process.arguments.begin(), process.executable);
        process.arguments.insert(process.arguments.begin(), launcher.begin() + 1, launcher.end());
        process.executable = launcher.front();
    }
    return std::make_unique<Process>(process);
}

HostResult HostFolder::finish(Process& host) const
{
    HostResult result {.end = host.wait(), .log = linesOf(host.standardOutput()), .errors = host.standardError()};
    std::ifstream answers {path() / "answers"};
    for (std::string line; std::getline(answers, line);) {
        auto answer = JSONSerialization::jsonObject(line);
        EXPECT_TRUE(answer) << line;
        result.answers.push_back(answer.value_or(Value {}));
    }
    return result;
}

HostResult HostFolder::run(const std::string& script) const
{
    const auto host = start(script);
    return finish(*host);
}

std::vector<std::string> HostFolder::inboxIds()
{
    const auto result = run(inbox);
    EXPECT_EQ(result.end, ProcessEnd {.exitStatus = 0}) << result.errors;
    std::vector<std::string> ids;
    const auto* records = result.answers.empty() ? nullptr : result.answers.back().find<Value::Array>("inbox");
    for (const auto& record : records ? *records : Value::Array {})
        ids.push_back(*record.find<std::string>("notificationID"));
    return ids;
}

std::string command(const std::string& name, const std::string& fields)
{
    return R"({"do":")" + name + "\"" + (fields.empty() ? "" : "," + fields) + "}\n";
}

std::string switchNetwork(const std::string& status)
{
    return command("network", R"("status":")" + status + "\"");
}

std::string saveEvent(const std::string& text)
{
    return command("event", R"("kind":"SearchEvent","type":"search","text":")" + text + "\"");
}

std::string savedText(const Value& body)
{
    const auto* text = body.as<std::string>();
    const auto value = JSONSerialization::jsonObject(text ? *text : "");
    const auto* attributes = value ? value->find("attributes") : nullptr;
    const auto* keywords = attributes ? attributes->find<std::string>("keywords") : nullptr;
    return keywords ? *keywords : "not whole: " + description(body);
}

std::string push(const Value::Dictionary& payload)
{
    return command("push", "\"payload\":" + std::string {JSONSerialization::data(payload)->text()});
}

std::string pushWithId(const std::string& id)
{
    return push({{"custom", Value::Dictionary {{"i", id}}}, {"aps", Value::Dictionary {{"alert", "Olá"}}}});
}

} // namespace kova::tests
