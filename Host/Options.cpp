#include "Host/Options.h"

#include "Host/HostCommands.h"

#include <getopt.h>

#include <array>
#include <charconv>
#include <cstring>

namespace kova::host {

namespace {

enum Option {
    Data = 1,
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
    option {"help", no_argument, nullptr, Help},
    option {nullptr, 0, nullptr, 0},
};

constexpr const char* usage
    = "usage: kova-host --data DIR --bundle DIR [--events-url U] [--metrics-url U] [--geotriggers-url U]\n"
      "                 [--network real|simulated] [--answers FILE] [--pause SECONDS]\n"
      "                 [--window [--screenshot DIR] [--payloads DIR]] [SCRIPT]\n";

double seconds(const char* text)
{
    constexpr double longest = 60;
    double number = -1;
    const auto* end = text + std::strlen(text);
    if (std::from_chars(text, end, number).ptr != end || !(number >= 0 && number <= longest))
        throw UsageError {std::string {"--pause is a number of seconds from 0 to 60\n"} + usage};
    return number;
}

} // namespace

Options Options::parse(int argumentCount, char** arguments)
{
    Options options;
    opterr = 0;
    optind = 1;
    int found = 0;
    while ((found = getopt_long(argumentCount, arguments, ":", longOptions.data(), nullptr)) != -1) {
        switch (found) {
        case Data:
            options.data = optarg;
            break;
        case Bundle:
            options.bundle = optarg;
            break;
        case EventsURL:
            options.eventsURL = optarg;
            break;
        case MetricsURL:
            options.metricsURL = optarg;
            break;
        case GeotriggersURL:
            options.geotriggersURL = optarg;
            break;
        case Network:
            options.network = optarg;
            break;
        case AnswersFile:
            options.answers = optarg;
            break;
        case Window:
            options.window = true;
            break;
        case Screenshot:
            options.screenshots = optarg;
            break;
        case Payloads:
            options.payloads = optarg;
            break;
        case Pause:
            options.pauseSeconds = seconds(optarg);
            break;
        case Help:
            options.wantsHelp = true;
            return options;
        default:
            throw UsageError {std::string {found == ':' ? "needs a value: " : "unknown option: "}
                + arguments[optind - 1] + "\n" + usage};
        }
    }
    if (options.data.empty() || options.bundle.empty())
        throw UsageError {std::string {"--data and --bundle are needed\n"} + usage};
    if (options.network != "real" && options.network != "simulated")
        throw UsageError {std::string {"--network is \"real\" or \"simulated\"\n"} + usage};
    if (!options.window && (options.screenshots || !options.payloads.empty()))
        throw UsageError {std::string {"--screenshot and --payloads are for a --window\n"} + usage};
    if (argumentCount - optind > 1)
        throw UsageError {std::string {"one script at most\n"} + usage};
    if (optind < argumentCount)
        options.script = arguments[optind];
    return options;
}

std::string helpText()
{
    std::string text = usage;
    text += "\nPlays a host application of KovaSDK over a script. The SDK's log goes to standard output.\n"
            "\n"
            "  --data DIR              where applications keep their data; the store is DIR/kova-host/defaults.sqlite\n"
            "  --bundle DIR            the host's resources, the configuration Kova.plist among them\n"
            "  --events-url U          base URL of the events web service, for example http://127.0.0.1:8080/v2/\n"
            "  --metrics-url U         base URL of the push-metrics web service, ending in /v2/\n"
            "  --geotriggers-url U     base URL of the geotrigger web service, ending in /v1/geotriggers/\n"
            "  --network MODE          real (the default) or simulated: offline until a script switches it\n"
            "  --answers FILE          where answers go instead of standard error\n"
            "  --pause SECONDS         waits so long after each line of the script, for who watches\n"
            "  --window                shows the host's screen, a shop, on which everything can be tried by hand; "
            "stays\n"
            "                          until it is closed. With a script it is played before your eyes\n"
            "  --screenshot DIR        saves what is seen after each line of the script as DIR/NNN-COMMAND.png and "
            "ends\n"
            "                          with the script; drawn in memory where there is no screen\n"
            "  --payloads DIR          raw payloads (*.json) that the shop offers to play\n"
            "  SCRIPT                  a file; standard input when it is - or missing, nothing with a window\n"
            "\n"
            "A script has one JSON object a line, with \"do\" and the fields of that command. Blank lines and lines\n"
            "that begin with # are skipped. Answers are JSON objects, one a line. Commands:\n\n";
    for (const auto& command : hostCommands()) {
        text += std::string {"  "} + command.name;
        text += *command.fields ? std::string {"  "} + command.fields + "\n" : "\n";
        text += std::string {"      "} + command.help + "\n";
    }
    text += "\nExit status: 0 the script ran and everything settled, or SIGINT or SIGTERM ended it; 2 a line or the\n"
            "command line is wrong, said as SCRIPT:LINE: message; 3 something did not settle in time. What the SDK\n"
            "treats as the host's programming error ends the process by abort.\n";
    return text;
}

} // namespace kova::host
