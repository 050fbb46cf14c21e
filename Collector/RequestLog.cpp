#include "Collector/RequestLog.h"

#include "Collector/Base64.h"
#include "Platform/Foundation/JSONSerialization.h"
#include "Platform/Foundation/Unicode.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace kova::collector {

namespace {

Value asValue(const ReceivedRequest& request)
{
    Value::Dictionary headers;
    for (const auto& [name, value] : request.headers)
        headers.insert_or_assign(repairedUTF8(name), Value {repairedUTF8(value)});
    Value::Dictionary line {
        {"method", repairedUTF8(request.method)},
        {"path", repairedUTF8(request.path)},
        {"headers", std::move(headers)},
        {"body", repairedUTF8(request.body)},
    };
    if (!isValidUTF8(request.body))
        line.emplace("bodyBase64", base64(request.body));
    return line;
}

} // namespace

std::expected<std::unique_ptr<RequestLog>, std::error_code> RequestLog::open(const std::string& file)
{
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor < 0)
        return std::unexpected {std::error_code {errno, std::generic_category()}};
    return std::unique_ptr<RequestLog> {new RequestLog(descriptor)};
}

RequestLog::RequestLog(int descriptor)
    : m_descriptor(descriptor)
{
}

RequestLog::~RequestLog()
{
    close(m_descriptor);
}

std::error_code RequestLog::append(const ReceivedRequest& request)
{
    const auto json = JSONSerialization::data(asValue(request));
    if (!json)
        return json.error();
    auto line = std::string {json->text()};
    line += '\n';
    std::string_view rest = line;
    // A second write is needed only when the first was cut short, by a disk that is nearly full for instance.
    while (!rest.empty()) {
        const auto written = write(m_descriptor, rest.data(), rest.size());
        if (written < 0 && errno != EINTR)
            return {errno, std::generic_category()};
        if (written > 0)
            rest.remove_prefix(static_cast<std::size_t>(written));
    }
    return {};
}

} // namespace kova::collector
