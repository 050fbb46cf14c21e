#include "Tests/Support/Collector.h"

#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Foundation/URLRequest.h"
#include "Tests/Support/Waiting.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace kova::tests {

namespace {

Collector::Request parsed(std::string_view line)
{
    const auto json = JSONSerialization::jsonObject(line);
    const auto* method = json ? json->find<std::string>("method") : nullptr;
    const auto* path = json ? json->find<std::string>("path") : nullptr;
    const auto* headers = json ? json->find<Value::Dictionary>("headers") : nullptr;
    const auto* body = json ? json->find<std::string>("body") : nullptr;
    if (method == nullptr || path == nullptr || headers == nullptr || body == nullptr)
        throw std::runtime_error("not a line of the collector's log: " + std::string {line});
    return {.method = *method, .path = *path, .headers = *headers, .body = *body, .line = *json};
}

} // namespace

const std::string* Collector::Request::header(std::string_view name) const
{
    const HeaderFieldLess less;
    const auto found = std::ranges::find_if(
        headers, [&](const auto& field) { return !less(field.first, name) && !less(name, field.first); });
    return found != headers.end() ? found->second.as<std::string>() : nullptr;
}

Collector::Collector(std::vector<std::string> options)
    : m_process([&] {
        options.insert(options.end(), {"--log", logFile().string()});
        return Process::Options {.executable = executable(), .arguments = std::move(options)};
    }())
{
    constexpr std::string_view beginning = "listening on http://127.0.0.1:";
    const auto line = m_process.waitForOutputLine(beginning);
    if (!line)
        throw std::runtime_error("the collector did not start: " + m_process.standardError());
    std::from_chars(line->data() + beginning.size(), line->data() + line->size(), m_port);
}

std::filesystem::path Collector::executable()
{
    return std::filesystem::path {KOVA_BIN_DIR} / "kova-collector";
}

std::string Collector::url(std::string_view path) const
{
    return "http://127.0.0.1:" + std::to_string(m_port) + std::string {path};
}

std::vector<Collector::Request> Collector::requests() const
{
    std::ifstream file {logFile(), std::ios::binary};
    const std::string text {std::istreambuf_iterator<char> {file}, {}};
    std::vector<Request> requests;
    std::size_t begin = 0;
    for (auto end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin)) {
        requests.push_back(parsed(std::string_view {text}.substr(begin, end - begin)));
        begin = end + 1;
    }
    return requests;
}

std::vector<Collector::Request> Collector::waitForRequests(std::size_t count, std::chrono::milliseconds timeout) const
{
    std::vector<Request> logged;
    (void)comesTrue([&] { return (logged = requests()).size() >= count; }, timeout);
    return logged;
}

std::optional<ProcessEnd> Collector::stop()
{
    m_process.signal(SIGTERM);
    return m_process.wait();
}

} // namespace kova::tests
