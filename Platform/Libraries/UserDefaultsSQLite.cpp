#include "Platform/Libraries/UserDefaultsSQLite.h"

#include "Platform/Foundation/ThreadHook.h"
#include "Platform/Libraries/FolderLock.h"
#include "Platform/Libraries/StoredValues.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <system_error>
#include <utility>

namespace kova {

namespace fs = std::filesystem;

class UserDefaultsSQLite::Store : public StoredValues {
    using StoredValues::StoredValues;
};

namespace {

// Every part of the path that is missing is made, for the owner alone.
void makePrivateFolder(const fs::path& folder)
{
    if (fs::is_directory(folder))
        return;
    if (folder.has_parent_path() && folder.parent_path() != folder)
        makePrivateFolder(folder.parent_path());
    fs::create_directory(folder);
    fs::permissions(folder, fs::perms::owner_all);
}

// Takes away what others may do, and nothing of what the owner has set.
void makePrivate(const fs::path& path)
{
    constexpr auto others = fs::perms::group_all | fs::perms::others_all;
    if ((fs::status(path).permissions() & others) != fs::perms::none)
        fs::permissions(path, others, fs::perm_options::remove);
}

// SQLite gives the log and the index beside a database the permissions of the database itself.
void makePrivateFile(const fs::path& file)
{
    if (!fs::exists(file)) {
        if (const std::unique_ptr<std::FILE, int (*)(std::FILE*)> created {
                std::fopen(file.c_str(), "ab"), &std::fclose};
            !created)
            throw fs::filesystem_error {"cannot create", file, std::error_code {errno, std::generic_category()}};
    }
    makePrivate(file);
}

fs::path asideName(const fs::path& file)
{
    const auto now = std::time(nullptr);
    std::tm utc {};
    gmtime_r(&now, &utc);
    std::array<char, 32> stamp {};
    std::strftime(stamp.data(), stamp.size(), ".damaged-%Y%m%dT%H%M%SZ", &utc);
    const auto base = file.string() + stamp.data();
    auto name = base;
    for (int number = 2; fs::exists(name); ++number)
        name = base + "-" + std::to_string(number);
    return name;
}

} // namespace

UserDefaultsSQLite::UserDefaultsSQLite(Options options)
    : m_options(std::move(options))
    , m_file(m_options.folder / "defaults.sqlite")
{
    const std::lock_guard lock {m_mutex};
    try {
        makePrivateFolder(m_options.folder);
        makePrivate(m_options.folder);
    } catch (const fs::filesystem_error& failure) {
        complain(std::string {"cannot be made, so nothing is kept after the process ends: "} + failure.what());
        m_isInMemory = true;
        m_store = std::make_unique<Store>(fs::path {}, m_options.busyTimeout);
        return;
    }
    try {
        openOrSetAside();
    } catch (const std::exception& failure) {
        complain(std::string {"cannot be opened for now: "} + failure.what());
    }
}

UserDefaultsSQLite::~UserDefaultsSQLite()
{
    close();
}

void UserDefaultsSQLite::open()
{
    makePrivateFile(m_file);
    m_store = std::make_unique<Store>(m_file, m_options.busyTimeout);
}

void UserDefaultsSQLite::openOrSetAside()
{
    const FolderLock lock {m_options.folder / "defaults.lock", m_options.busyTimeout};
    try {
        open();
    } catch (const SQLiteFailure& failure) {
        if (!failure.isDamage())
            throw;
        setAside();
        open();
    }
}

void UserDefaultsSQLite::setAside()
{
    m_store.reset();
    const auto aside = asideName(m_file);
    fs::rename(m_file, aside);
    for (const auto* suffix : {"-wal", "-shm"}) {
        std::error_code missing;
        fs::rename(m_file.string() + suffix, aside.string() + suffix, missing);
    }
    complain("is damaged; it was set aside as " + aside.string() + " and a fresh one begun");
}

void UserDefaultsSQLite::complain(const std::string& message)
{
    if (message == m_lastComplaint)
        return;
    m_lastComplaint = message;
    const auto line = "KovaSDK: the store " + m_file.string() + " " + message + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

// Runs an operation on the store, on a fresh one when the present one turns out to be damaged.
template <typename Result, typename Operation> Result UserDefaultsSQLite::perform(const char* what, Operation operation)
{
    if (m_isClosed)
        return Result {};
    try {
        if (!m_store)
            openOrSetAside();
        try {
            return operation(*m_store);
        } catch (const SQLiteFailure& failure) {
            if (!failure.isDamage() || m_isInMemory)
                throw;
        }
        // Another process may have set the file aside already; if not, opening it or the operation finds the damage
        // again.
        m_store->leaveLogBehind();
        m_store.reset();
        openOrSetAside();
        try {
            return operation(*m_store);
        } catch (const SQLiteFailure& failure) {
            if (!failure.isDamage())
                throw;
        }
        m_store->leaveLogBehind();
        const FolderLock lock {m_options.folder / "defaults.lock", m_options.busyTimeout};
        setAside();
        open();
        return operation(*m_store);
    } catch (const std::exception& failure) {
        complain(std::string {what} + ": " + failure.what());
        return Result {};
    }
}

std::optional<Value> UserDefaultsSQLite::object(std::string_view key)
{
    const std::lock_guard lock {m_mutex};
    // None stands for a failure, a value that is none for a key that is not there.
    using Read = std::optional<std::optional<Value>>;
    auto read = perform<Read>("cannot be read", [key](Store& store) { return Read {store.read(key)}; });
    if (read)
        m_failedReads.erase(std::string {key});
    else
        m_failedReads.emplace(key);
    return read ? *std::move(read) : std::nullopt;
}

void UserDefaultsSQLite::setObject(std::string_view key, std::optional<Value> value)
{
    const std::lock_guard lock {m_mutex};
    // What follows a failed read was made from nothing, and would replace all that is stored.
    if (m_failedReads.erase(std::string {key}) > 0) {
        complain(
            "does not take a value after a read that failed, so a value is lost (key \"" + std::string {key} + "\")");
        return;
    }
    const auto isWritten = perform<bool>("cannot be written, so a value is lost", [&](Store& store) {
        if (!value) {
            store.remove(key);
        } else if (!store.write(key, *value)) {
            complain("does not take a value that is no property list (key \"" + std::string {key} + "\")");
            return false;
        }
        return true;
    });
    if (!isWritten || m_isInMemory)
        return;
    // Waking the thread costs as much as the write, so only the first of a burst does it.
    if (!std::exchange(m_needsCheckpoint, true))
        m_written.notify_all();
    if (!m_checkpointer.joinable())
        m_checkpointer = std::jthread {[this](const std::stop_token& stop) { checkpointInBackground(stop); }};
}

// The log is brought to the disk from a connection of its own, so that no writer waits for the disk.
void UserDefaultsSQLite::checkpointInBackground(const std::stop_token& stop)
{
    announceThread("UserDefaults");
    std::unique_lock lock {m_mutex};
    while (m_written.wait(lock, stop, [this] { return m_needsCheckpoint; })) {
        // Gathers what a burst writes; a stop ends the wait at once.
        m_written.wait_for(lock, stop, m_options.checkpointDelay, [] { return false; });
        if (stop.stop_requested())
            return;
        m_needsCheckpoint = false;
        lock.unlock();
        checkpoint();
        lock.lock();
    }
}

void UserDefaultsSQLite::checkpoint()
{
    try {
        SQLiteDatabase {m_file, m_options.busyTimeout}.checkpoint();
    } catch (const SQLiteFailure& failure) {
        // Damage is for the next read or write to find; it then knows what to do.
        if (failure.isDamage())
            return;
        const std::lock_guard lock {m_mutex};
        complain(std::string {"cannot be brought to the disk: "} + failure.what());
    }
}

void UserDefaultsSQLite::synchronize()
{
    {
        const std::lock_guard lock {m_mutex};
        if (m_isClosed || !std::exchange(m_needsCheckpoint, false))
            return;
    }
    checkpoint();
}

void UserDefaultsSQLite::close()
{
    std::jthread checkpointer;
    {
        const std::lock_guard lock {m_mutex};
        if (std::exchange(m_isClosed, true))
            return;
        checkpointer = std::move(m_checkpointer);
    }
    checkpointer = {};
    // What is not on the disk yet is brought there by the last connection, as it closes, or here when another process
    // has one, too.
    if (std::exchange(m_needsCheckpoint, false))
        checkpoint();
    const std::lock_guard lock {m_mutex};
    m_store.reset();
}

} // namespace kova
