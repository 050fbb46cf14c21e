#include "Collector/CollectorOptions.h"

#include <charconv>

namespace kova::collector {

namespace {

constexpr std::int64_t longestDelayMs = 24 * 60 * 60 * 1000;

std::expected<std::int64_t, std::string> number(
    std::string_view option, std::string_view text, std::int64_t minimum, std::int64_t maximum)
{
    std::int64_t result = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
    if (error != std::errc {} || end != text.data() + text.size() || result < minimum || result > maximum) {
        return std::unexpected {std::string {option} + " takes a whole number from " + std::to_string(minimum) + " to "
            + std::to_string(maximum) + ", not '" + std::string {text} + "'"};
    }
    return result;
}

} // namespace

std::expected<CollectorOptions, std::string> CollectorOptions::fromArguments(std::span<const char* const> arguments)
{
    CollectorOptions options;
    while (!arguments.empty()) {
        // "--port 80" or "--port=80".
        const std::string_view argument = arguments.front();
        const auto option = argument.substr(0, argument.find('='));
        const bool isJoined = option.size() < argument.size();
        arguments = arguments.subspan(1);
        const bool isFlag = option == "--help" || option == "--drop" || option == "--reset";
        if (isFlag && isJoined)
            return std::unexpected {std::string {option} + " takes no value"};
        if (option == "--help") {
            options.help = true;
            continue;
        }
        if (option == "--drop" || option == "--reset") {
            const auto asked = option == "--drop" ? Answering::drop : Answering::reset;
            if (options.answering != Answering::reply && options.answering != asked)
                return std::unexpected {"--drop and --reset exclude each other"};
            options.answering = asked;
            continue;
        }
        const bool isNumber = option == "--port" || option == "--status" || option == "--delay";
        if (!isNumber && option != "--log")
            return std::unexpected {"unknown argument '" + std::string {argument} + "'"};
        if (!isJoined && arguments.empty())
            return std::unexpected {std::string {option} + " lacks its value"};
        const auto value = isJoined ? argument.substr(option.size() + 1) : std::string_view {arguments.front()};
        arguments = arguments.subspan(isJoined ? 0 : 1);
        if (option == "--log") {
            options.logFile = value;
            continue;
        }
        const auto parsed = option == "--port" ? number(option, value, 0, 65535)
            : option == "--status"             ? number(option, value, 100, 999)
                                               : number(option, value, 0, longestDelayMs);
        if (!parsed)
            return std::unexpected {parsed.error()};
        if (option == "--port")
            options.port = static_cast<std::uint16_t>(*parsed);
        else if (option == "--status")
            options.status = static_cast<int>(*parsed);
        else
            options.delay = std::chrono::milliseconds {*parsed};
    }
    return options;
}

std::string_view helpText()
{
    return R"(Usage: kova-collector [OPTION]...

Plays the web services of the SDK on 127.0.0.1, for demonstrations and tests.

  --port PORT    listen on this port (default 0: the system chooses)
  --log FILE     append one JSON line for each request to FILE
  --status CODE  answer posts with this status, 100 to 999 (default 200)
  --delay MS     wait so many milliseconds before each answer (default 0)
  --drop         read and log each request, then close the connection unanswered
  --reset        the same, but reset the connection
  --help         print this and end

Once connections are accepted, one line tells where, on standard output:

  listening on http://127.0.0.1:PORT

What is served:

  POST /v2/...              the events and the push-metrics service
  POST /v1/geotriggers/...  the geotrigger service
  GET /images/NAME          a PNG of one colour, which NAME decides

A post is answered with the status asked for and {"ok":true}; 204, 304 and 1xx
have no body, and after 1xx the connection is closed, as no final answer comes.
Any other request is answered with 404. A body may have up to 64 MiB.

The log has a line for every request that arrived whole, also for one that is
answered with an error, in the order of arrival. The line is in the file before
the answer leaves. Its keys:

  method      such as "POST"
  path        the request target as sent, with its query
  headers     an object; the values of a repeated field are joined by ", "
  body        the body as text; what is not UTF-8 is replaced by U+FFFD
  bodyBase64  the exact bytes, only when the body is not UTF-8

SIGTERM and SIGINT end the program at once, also while answers are delayed.
Exit status: 0 after such a signal, 1 when the service cannot run or the output
cannot be written, 2 when an argument is wrong or FILE cannot be opened.
)";
}

} // namespace kova::collector
