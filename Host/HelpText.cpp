#include "Host/HelpText.h"

#include "Host/HostCommands.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

namespace kova::host {

namespace {

constexpr std::size_t width = 80;

constexpr const char* beginning = R"(Usage: kova-host --data DIR --bundle DIR [OPTION]... [SCRIPT]
       kova-host doctor --data DIR --bundle DIR [OPTION]...

Plays a host application of KovaSDK: over a script of JSON lines, or by hand in
a window. The SDK's log goes to standard output. "doctor" plays nothing; it says
in plain words what is wrong with a configuration, a store, the network or the
web services, and changes nothing.

Needed:
  --data DIR             where applications keep their data; the store is
                         DIR/kova-host/defaults.sqlite
  --bundle DIR           the host's resources, Kova.plist among them

Where the web services live, if not where the build says:
  --events-url URL       events, ending in /v2/, for example
                         http://127.0.0.1:8080/v2/
  --metrics-url URL      push metrics, ending in /v2/
  --geotriggers-url URL  geotriggers, ending in /v1/geotriggers/

For playing:
  SCRIPT                 a file, or - for standard input, which is also taken
                         when there is neither a script nor a window
  --network MODE         real (the default), or simulated: offline until the
                         script switches it
  --answers FILE         where answers go instead of standard error
  --pause SECONDS        waits so long after each line of the script (0 to 60)
  --window               shows the host's screen, a shop in which everything can
                         be tried by hand, until it is closed; a script is
                         played before your eyes
  --screenshot DIR       with --window: saves what is seen after each line as
                         DIR/NNN-COMMAND.png and ends with the script; drawn in
                         memory where there is no screen
  --payloads DIR         with --window: raw payloads (*.json) that the shop
                         offers to play

For the doctor:
  --identifier ID        the bundle identifier of the application whose store is
                         looked at (default kova-host)
  --timeout SECONDS      how long the network is waited for (1 to 60, default 5)

  --help                 prints this and ends

Try it, with kova-collector --port 8080 in another terminal:

  echo '{"do":"start"}' | kova-host --data ~/.kova-trial \
      --bundle RESOURCES \
      --events-url http://127.0.0.1:8080/v2/

A script has one JSON object a line, with "do" and the fields of that command.
Blank lines and lines that begin with # are skipped. Answers are JSON objects,
one a line. On a terminal it is said each second what still goes on. Fields in
[brackets] may be left out. Commands:

)";

constexpr const char* ending = R"(
Exit status:
  0  the script ran and everything settled, or SIGINT or SIGTERM ended it;
     doctor: everything is fine
  1  doctor: something is wrong; doctor and --help: the output could not be
     written
  2  the command line or a line of the script is wrong, said as
     SCRIPT:LINE: message
  3  something did not settle in time
  4  pushes, events or changes of the inbox could not be stored and are lost,
     as the last line of the store says
What the SDK treats as the host's programming error ends the process by abort.
)";

std::size_t columns(std::string_view text)
{
    return static_cast<std::size_t>(std::ranges::count_if(text, [](char byte) { return (byte & 0xC0) != 0x80; }));
}

// The words of a text in lines that begin with so many blanks, the first with fewer.
std::string wrapped(std::string_view text, std::size_t firstIndent, std::size_t indent)
{
    std::string lines;
    std::string line(firstIndent, ' ');
    bool isEmpty = true;
    while (!text.empty()) {
        const auto word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(text.size(), word.size() + 1));
        if (!isEmpty && columns(line) + 1 + columns(word) > width) {
            lines += line + "\n";
            line.assign(indent, ' ');
            isEmpty = true;
        }
        line.append(isEmpty ? "" : " ").append(word);
        isEmpty = false;
    }
    return lines + line + "\n";
}

} // namespace

std::string exampleBundle()
{
    std::error_code failure;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", failure);
    const auto installed = program.parent_path().parent_path() / "share" / "kova-host" / "Resources";
    return std::filesystem::exists(installed / "Kova.plist", failure) ? installed.string() : "Host/Resources";
}

std::string helpText()
{
    constexpr std::string_view placeholder = "RESOURCES";
    std::string text = beginning;
    text.replace(text.find(placeholder), placeholder.size(), exampleBundle());
    for (const auto& command : hostCommands()) {
        text += wrapped(std::string {command.name} + (*command.fields ? "  " : "") + command.fields, 2, 6);
        text += wrapped(command.help, 6, 6);
    }
    return text + ending;
}

} // namespace kova::host
