#include "Host/Doctor/ConfigurationCheck.h"

#include "Platform/Foundation/PropertyList.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace kova::host {

namespace fs = std::filesystem;

namespace {

// As large as the SDK reads it.
constexpr std::size_t largestConfiguration = 1024 * 1024;

constexpr std::array<std::pair<const char*, const char*>, 4> keys {{
    {"KovaNotificationID", "the push vendor's application id"},
    {"KovaGeolocationID", "the geofencing vendor's public token"},
    {"KovaAudienceID", "the audience that goes into every event"},
    {"KovaAPIKey", "the key of the geotrigger web service"},
}};

void checkKey(const Value& configuration, const std::string& key, const std::string& meaning, Report& report)
{
    const auto* value = configuration.find(key);
    const auto* text = value ? value->as<std::string>() : nullptr;
    const auto entry = "<key>" + key + "</key> <string>…</string>";
    if (!value)
        report.wrong(key + " is missing", "Add " + entry + " with " + meaning + ".");
    else if (!text)
        report.wrong(key + " is no text, so it reads as the empty text", "Write it as " + entry + ".");
    else if (text->empty())
        report.wrong(key + " is empty", "Write " + meaning + " there.");
    else
        report.fine(key + " is set");
}

} // namespace

void checkConfiguration(const fs::path& bundle, Report& report)
{
    const auto file = bundle / "Kova.plist";
    report.section("Configuration: " + file.string());
    std::error_code unreadable;
    const auto status = fs::status(file, unreadable);
    if (!fs::exists(status)) {
        report.wrong(fs::is_directory(bundle, unreadable) ? "there is no such file" : "there is no such folder",
            "Put Kova.plist into the bundle folder, or name that folder with --bundle.");
        return;
    }
    if (!fs::is_regular_file(status)) {
        report.wrong("it is no regular file", "Put a property list there.");
        return;
    }
    if (access(file.c_str(), R_OK) != 0) {
        report.wrong(std::string {"it cannot be read: "} + std::strerror(errno),
            "Give the user that runs the application the right to read it.");
        return;
    }
    const auto bytes = Data::contentsOf(file, largestConfiguration);
    if (!bytes) {
        report.wrong("it is larger than 1 MiB, so the SDK does not read it", "Leave only the four keys in it.");
        return;
    }
    const auto configuration = PropertyListDecoder::decode(bytes->text());
    if (!configuration) {
        report.wrong(configuration.error().message(),
            "Write it as docs/integration.md says. Python tells the line of the fault: python3 -c "
            "'import plistlib, sys; plistlib.load(open(sys.argv[1], \"rb\"))' "
                + file.string());
        return;
    }
    if (!configuration->as<Value::Dictionary>()) {
        report.wrong("it is a property list, but no dictionary", "Write it as docs/integration.md says.");
        return;
    }
    for (const auto& [key, meaning] : keys)
        checkKey(*configuration, key, meaning, report);
}

} // namespace kova::host
