#include "Host/Options.h"

#include "Host/HelpText.h"
#include "Platform/Foundation/Description.h"
#include "Platform/Platform.h"

#include <getopt.h>

#include <array>
#include <charconv>
#include <cstring>
#include <string_view>

namespace kova::host {

namespace {

// Beyond every character, so that no short option is taken for one of them.
enum Option {
    Data = 256,
    Bundle,
    EventsURL,
    MetricsURL,
    GeotriggersURL,
    Network,
    AnswersFile,
    Window,
    Screenshot,
    Payloads,
    Pause,
    Identifier,
    Timeout,
    Help
};

constexpr std::array longOptions {
    option {"data", required_argument, nullptr, Data},
    option {"bundle", required_argument, nullptr, Bundle},
    option {"events-url", required_argument, nullptr, EventsURL},
    option {"metrics-url", required_argument, nullptr, MetricsURL},
    option {"geotriggers-url", required_argument, nullptr, GeotriggersURL},
    option {"network", required_argument, nullptr, Network},
    option {"answers", required_argument, nullptr, AnswersFile},
    option {"window", no_argument, nullptr, Window},
    option {"screenshot", required_argument, nullptr, Screenshot},
    option {"payloads", required_argument, nullptr, Payloads},
    option {"pause", required_argument, nullptr, Pause},
    option {"identifier", required_argument, nullptr, Identifier},
    option {"timeout", required_argument, nullptr, Timeout},
    option {"help", no_argument, nullptr, Help},
    option {nullptr, 0, nullptr, 0},
};

[[noreturn]] void fail(const std::string& message)
{
    throw UsageError {message + " (see kova-host --help)"};
}

std::string longName(int index)
{
    return std::string {"--"} + longOptions.at(static_cast<std::size_t>(index)).name;
}

// What is wrong with the option that getopt_long() has just refused: `given`, if it is a long one.
std::string refusal(const std::string& given)
{
    constexpr int count = static_cast<int>(longOptions.size()) - 1;
    if (optopt != 0 && optopt < Data)
        return std::string {"unknown option -"} + static_cast<char>(optopt);
    std::string meant;
    for (int index = 0; index < count; ++index) {
        if (longOptions.at(static_cast<std::size_t>(index)).val == optopt)
            return longName(index) + " takes no value";
        if (longName(index).starts_with(given.substr(0, given.find('='))))
            meant += (meant.empty() ? "" : " or ") + longName(index);
    }
    return meant.empty() ? "unknown option " + given : given + " is ambiguous: " + meant;
}

double seconds(const std::string& name, const char* text, double least)
{
    constexpr double longest = 60;
    double number = -1;
    const auto* end = text + std::strlen(text);
    if (std::from_chars(text, end, number).ptr != end || !(number >= least && number <= longest))
        fail(name + " takes a number of seconds from " + (least > 0 ? "1" : "0") + " to 60, not \"" + text + "\"");
    return number;
}

// What a doctor looks at, and what only a doctor takes.
bool isForDoctor(int option)
{
    return option == Identifier || option == Timeout;
}

bool isForBoth(int option)
{
    return option == Data || option == Bundle || option == EventsURL || option == MetricsURL || option == GeotriggersURL
        || option == Help;
}

void take(Options& options, int option, const char* value)
{
    switch (option) {
    case Data:
        options.data = value;
        break;
    case Bundle:
        options.bundle = value;
        break;
    case EventsURL:
        options.eventsURL = value;
        break;
    case MetricsURL:
        options.metricsURL = value;
        break;
    case GeotriggersURL:
        options.geotriggersURL = value;
        break;
    case Network:
        options.network = value;
        break;
    case AnswersFile:
        options.answers = value;
        break;
    case Window:
        options.window = true;
        break;
    case Screenshot:
        options.screenshots = value;
        break;
    case Payloads:
        options.payloads = value;
        break;
    case Pause:
        options.pauseSeconds = seconds("--pause", value, 0);
        break;
    case Identifier:
        options.identifier = value;
        break;
    case Timeout:
        options.timeoutSeconds = seconds("--timeout", value, 1);
        break;
    default:
        options.wantsHelp = true;
        break;
    }
}

void check(const Options& options)
{
    if (options.data.empty())
        fail("--data is missing: name the folder where applications keep their data, for example --data /tmp/kova");
    if (options.bundle.empty())
        fail("--bundle is missing: name the folder that holds Kova.plist, for example --bundle " + exampleBundle());
    if (options.network != "real" && options.network != "simulated")
        fail("--network is \"real\" or \"simulated\", not \"" + options.network + "\"");
    if (!DevicePlatform::isBundleIdentifier(options.identifier))
        fail("--identifier takes letters, digits, \".\", \"-\" and \"_\", not beginning with \".\" and at most 255 of "
             "them, not \""
            + singleLine(options.identifier) + "\"");
    if (!options.window && options.screenshots)
        fail("--screenshot needs --window");
    if (!options.window && !options.payloads.empty())
        fail("--payloads needs --window");
}

} // namespace

Options Options::parse(int argumentCount, char** arguments)
{
    Options options;
    if (argumentCount > 1 && std::string_view {arguments[1]} == "doctor") {
        options.doctor = true;
        --argumentCount;
        ++arguments;
    }
    opterr = 0;
    optind = 1;
    int found = 0;
    int index = 0;
    while ((found = getopt_long(argumentCount, arguments, ":", longOptions.data(), &index)) != -1) {
        if (found == ':')
            fail(std::string {arguments[optind - 1]} + " needs a value");
        if (found == '?')
            fail(refusal(arguments[optind - 1]));
        if (!isForBoth(found) && isForDoctor(found) != options.doctor)
            fail(longName(index) + (options.doctor ? " is not for the doctor" : " is for kova-host doctor only"));
        take(options, found, optarg);
        if (options.wantsHelp)
            return options;
    }
    check(options);
    if (options.doctor && optind < argumentCount)
        fail(std::string {"the doctor plays no script: "} + arguments[optind]);
    if (argumentCount - optind > 1)
        fail("one script at most");
    if (optind < argumentCount)
        options.script = arguments[optind];
    if (options.script == "doctor" && !std::filesystem::exists("doctor"))
        fail("\"doctor\" stands first: kova-host doctor --data DIR --bundle DIR");
    return options;
}

ServiceAddresses Options::serviceAddresses() const
{
    auto addresses = ServiceAddresses::builtIn();
    addresses.eventsBaseURL = eventsURL.value_or(addresses.eventsBaseURL);
    addresses.metricsBaseURL = metricsURL.value_or(addresses.metricsBaseURL);
    addresses.geotriggersBaseURL = geotriggersURL.value_or(addresses.geotriggersBaseURL);
    return addresses;
}

} // namespace kova::host
