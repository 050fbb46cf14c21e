#include "Host/Doctor/ConfigurationCheck.h"

#include "Host/Doctor/ShellWord.h"
#include "KovaSDK/KovaKeysManager.h"
#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/PropertyList.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace kova::host {

namespace fs = std::filesystem;

namespace {

constexpr std::array<std::pair<const char*, const char*>, 4> keys {{
    {"KovaNotificationID", "the push vendor's application id"},
    {"KovaGeolocationID", "the geofencing vendor's public token"},
    {"KovaAudienceID", "the audience that goes into every event"},
    {"KovaAPIKey", "the key of the geotrigger web service"},
}};

// What an editor leaves around a value, and nobody sees.
bool hasStrayCharacters(const std::string& text)
{
    return text.starts_with(' ') || text.ends_with(' ') || singleLine(text) != text;
}

// Python's parser looks at nothing else as XML, and tells no place in other content.
bool isMeantAsXML(std::string_view content)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (content.starts_with(byteOrderMark))
        content.remove_prefix(byteOrderMark.size());
    return content.starts_with("<?xml") || content.starts_with("<plist");
}

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
    else if (hasStrayCharacters(*text))
        report.wrong(key + " has a line break, a control or an invisible character in it, or a blank at an end",
            "Write it in one line, as " + entry + ": the SDK takes every character between the two marks.");
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
    if (status.type() == fs::file_type::none) {
        report.wrong("it cannot be looked at: " + unreadable.message(),
            "Give the user that runs the application the right to enter the bundle folder.");
        return;
    }
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
    const auto bytes = Data::contentsOf(file, KovaKeyManager::largestConfiguration);
    if (!bytes) {
        report.wrong("it is larger than 16 MiB, so the SDK does not read it", "Leave only the four keys in it.");
        return;
    }
    const auto configuration = PropertyListDecoder::decode(bytes->text());
    if (!configuration) {
        const std::string python = "Python tells the line of the fault: python3 -c "
                                   "'import plistlib, sys; plistlib.load(open(sys.argv[1], \"rb\"))' ";
        report.wrong(configuration.error().message(),
            "Write it as docs/integration.md says."
                + (isMeantAsXML(bytes->text()) ? " " + python + shellWord(file.string()) : ""));
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
