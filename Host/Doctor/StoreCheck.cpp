#include "Host/Doctor/StoreCheck.h"

#include "Host/Doctor/ShellWord.h"
#include "Host/Doctor/StoreLocks.h"
#include "KovaSDK/Events/EventServices/EventStorage.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/Foundation/PropertyList.h"
#include "Platform/Libraries/SQLiteDatabase.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>

namespace kova::host {

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t ourVersion = 1;
constexpr unsigned othersMask = 077;

std::string octal(unsigned mode)
{
    std::array<char, 8> text {};
    std::snprintf(text.data(), text.size(), "%04o", mode & 07777U);
    return text.data();
}

std::string counted(std::size_t count, const std::string& what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

void checkOwnerAndMode(const fs::path& path, const char* wanted, Report& report)
{
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        report.wrong(path.string() + ": " + std::strerror(errno), "Make it accessible.");
        return;
    }
    const auto name = path.filename().string();
    if (status.st_uid != geteuid()) {
        report.wrong(name + " belongs to the user " + std::to_string(status.st_uid) + ", not to this one ("
                + std::to_string(geteuid()) + ")",
            "Run this as the user that runs the application, or give it to that user with chown.");
    }
    if ((status.st_mode & othersMask) != 0) {
        report.wrong("other users may look into " + name + " (" + octal(status.st_mode) + ")",
            "chmod " + std::string {wanted} + " " + shellWord(path.string())
                + " (the SDK does so when it starts; find out who changed it)");
    } else {
        report.fine(name + " is for its owner alone (" + octal(status.st_mode) + ")");
    }
}

void checkSpace(const fs::path& folder, Report& report)
{
    constexpr std::uint64_t mebibyte = 1024UL * 1024;
    constexpr std::uint64_t little = 10;
    struct statvfs space {};
    if (statvfs(folder.c_str(), &space) != 0) {
        report.wrong(std::string {"the free space cannot be told: "} + std::strerror(errno), "Check the file system.");
        return;
    }
    if ((space.f_flag & ST_RDONLY) != 0)
        report.wrong("the file system can only be read", "Mount it for writing, or choose another data folder.");
    const auto free = std::uint64_t {space.f_bavail} * space.f_frsize / mebibyte;
    if (free < little)
        report.wrong("only " + std::to_string(free) + " MiB are free, so pushes and events may be lost", "Make room.");
    else
        report.fine(std::to_string(free) + " MiB are free");
}

// Where the SDK would make the folder. A link that leads nowhere is in its way, so links are not followed.
void checkParent(const fs::path& folder, Report& report)
{
    auto above = folder;
    std::error_code unreadable;
    while (fs::symlink_status(above, unreadable).type() == fs::file_type::not_found && above.has_relative_path())
        above = above.parent_path();
    if (!fs::is_directory(above, unreadable)) {
        report.wrong(above.string()
                + (fs::is_symlink(above, unreadable) ? " is a link that leads nowhere" : " is no folder")
                + ", so nothing would be kept",
            "Take it away, or choose another data folder.");
        return;
    }
    if (access(above.c_str(), W_OK | X_OK) != 0)
        report.wrong("the folder cannot be made in " + above.string() + ": " + std::strerror(errno),
            "Give the user that runs the application the right to write there, or choose another data folder.");
    else
        report.fine("there is none yet; the SDK makes it when it starts");
    checkSpace(above, report);
}

std::int64_t number(SQLiteDatabase& database, const char* sql)
{
    auto statement = database.prepare(sql);
    return statement.step() ? statement.integer(0) : 0;
}

void checkInbox(SQLiteDatabase& database, Report& report)
{
    auto statement = database.prepare("SELECT kind, value FROM entry WHERE key = ?1");
    if (!statement.with(std::string_view {NotificationStorage::key}).step()) {
        report.fine("the inbox is empty");
        return;
    }
    const auto list = PropertyListDecoder::decode(statement.bytes(1));
    const auto* records = list ? list->as<Value::Array>() : nullptr;
    const bool isReadable = statement.integer(0) == 0 && records
        && records->allSatisfy([](const Value& record) { return KovaNotification::decode(record).has_value(); });
    if (!isReadable) {
        report.wrong("the inbox cannot be decoded, so it reads as empty, and the next push replaces it",
            "Rescue defaults.sqlite now if you need it; find out who wrote the key kova_notification.");
        return;
    }
    report.fine("the inbox has " + counted(records->size(), "record"));
}

void checkBuffer(SQLiteDatabase& database, Report& report)
{
    auto statement = database.prepare("SELECT kind FROM entry WHERE key = ?1");
    const std::string_view key {EventStorage::key};
    if (!statement.with(key).step()) {
        report.fine("no event waits");
        return;
    }
    constexpr std::int64_t array = 2;
    auto others = database.prepare("SELECT count(*), coalesce(sum(element.kind != 0), 0) FROM element "
                                   "JOIN entry ON element.entry = entry.id WHERE entry.key = ?1");
    const bool isThere = others.with(key).step();
    if (statement.integer(0) != array || !isThere || others.integer(1) != 0) {
        report.wrong("the buffered events cannot be read, so the buffer reads as empty, and the next event replaces it",
            "Rescue defaults.sqlite now if you need it; find out who wrote the key kova_buffer.");
        return;
    }
    const auto waiting = static_cast<std::size_t>(others.integer(0));
    if (waiting == 0)
        report.fine("no event waits");
    else
        report.note(counted(waiting, "event") + (waiting == 1 ? " waits" : " wait")
            + " to be sent: the device was offline, or the events web service did not answer with status 200");
}

void checkContent(const fs::path& file, Report& report)
{
    SQLiteDatabase database {file, std::chrono::seconds {1}, SQLiteDatabase::Mode::Unchanged};
    database.keepLogOnClose(true);
    const auto version = number(database, "PRAGMA user_version");
    if (version > ourVersion) {
        report.wrong("the database was written by a newer version of the SDK, so this one does not use it",
            "Run the newer version, or choose another data folder.");
        return;
    }
    auto check = database.prepare("PRAGMA integrity_check(1)");
    const std::string found {check.step() ? check.bytes(0) : "nothing"};
    if (found != "ok") {
        report.wrong("the database is damaged: " + found,
            "The SDK may set it aside and begin a fresh one. Copy it first if you need it, and check the disk.");
        return;
    }
    report.fine("the database is whole");
    const auto tables = number(database, "SELECT count(*) FROM sqlite_master WHERE name IN ('entry', 'element')");
    if (version < ourVersion && tables < 2) {
        report.fine("it has no tables of the SDK yet; the SDK makes them when it starts");
        return;
    }
    checkInbox(database, report);
    checkBuffer(database, report);
}

void checkDatabase(const fs::path& file, Report& report)
{
    try {
        checkContent(file, report);
    } catch (const SQLiteFailure& failure) {
        if (failure.isDamage())
            report.wrong(std::string {"the database is damaged: "} + failure.what(),
                "The SDK sets it aside when it starts, and begins a fresh one. Copy it first if you need it.");
        else
            report.wrong(std::string {"the database cannot be read: "} + failure.what(),
                "End whoever holds it, or mend what the system says.");
    }
}

} // namespace

void checkStore(const fs::path& place, Report& report)
{
    // As the SDK takes it.
    const auto folder = fs::absolute(place);
    const auto file = folder / "defaults.sqlite";
    report.section("Store: " + file.string());
    std::error_code unreadable;
    const auto status = fs::status(folder, unreadable);
    if (status.type() == fs::file_type::not_found && unreadable != std::errc::not_a_directory) {
        checkParent(folder, report);
        return;
    }
    if (status.type() == fs::file_type::none || status.type() == fs::file_type::not_found) {
        report.wrong("the folder cannot be looked into: " + unreadable.message(),
            "Choose another data folder, or give the user that runs the application the right to enter it.");
        return;
    }
    if (!fs::is_directory(status)) {
        report.wrong("the place of the application's folder is taken by something that is no folder", "Take it away.");
        return;
    }
    checkOwnerAndMode(folder, "700", report);
    if (access(folder.c_str(), X_OK) != 0) {
        report.wrong(std::string {"the folder cannot be entered: "} + std::strerror(errno),
            "Give the user that runs the application the right to enter and write there.");
        return;
    }
    if (access(folder.c_str(), R_OK | W_OK) != 0)
        report.wrong(std::string {"the folder cannot be written to: "} + std::strerror(errno),
            "Give the user that runs the application the right to write there.");
    checkSpace(folder, report);
    for (const auto& entry : fs::directory_iterator {folder, unreadable}) {
        const auto name = entry.path().filename().string();
        if (name.starts_with("defaults.sqlite.damaged-") && !name.ends_with("-wal") && !name.ends_with("-shm"))
            report.note("a damaged store was set aside: " + name + "; delete it when you do not need it");
    }
    if (!fs::exists(file, unreadable)) {
        report.fine("there is no database yet; the SDK makes it when it starts");
        return;
    }
    if (!fs::is_regular_file(file, unreadable)) {
        report.wrong("defaults.sqlite is no regular file", "Take it away.");
        return;
    }
    checkOwnerAndMode(file, "600", report);
    if (access(file.c_str(), R_OK | W_OK) != 0) {
        report.wrong(std::string {"the database cannot be opened for writing: "} + std::strerror(errno),
            "Give the user that runs the application the right to write it.");
        return;
    }
    checkLocks(folder, report);
    checkDatabase(file, report);
}

} // namespace kova::host
