#include "Platform/Libraries/StoreFile.h"

#include "Platform/Libraries/StoreSalvage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

namespace kova {

namespace fs = std::filesystem;

namespace {

// The file itself, its log, and the index of its log.
constexpr std::array<const char*, 3> suffixes {"", "-wal", "-shm"};
constexpr std::size_t logIndex = 1;
constexpr std::size_t shmIndex = 2;

// A new name outlives a power cut only when the folder it stands in was brought to the disk.
void syncFolder(const fs::path& folder)
{
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    fsync(descriptor);
    close(descriptor);
}

// Makes every part of the path that is missing, for the owner alone.
void makePrivateFolder(const fs::path& folder)
{
    if (fs::exists(fs::symlink_status(folder)))
        return;
    if (folder.has_parent_path() && folder.parent_path() != folder)
        makePrivateFolder(folder.parent_path());
    fs::create_directory(folder);
    fs::permissions(folder, fs::perms::owner_all);
    syncFolder(folder.parent_path());
}

struct Descriptor {
    ~Descriptor()
    {
        if (number >= 0)
            close(number);
    }
    const int number;
};

// A folder that somebody else has prepared may hold a forged inbox, or links to files that are not ours to change.
void requireOwnFolder(const fs::path& folder)
{
    const auto refuse = [&](const std::string& why) {
        throw std::runtime_error {"its folder " + folder.string() + " " + why + ", so the store is not used"};
    };
    const Descriptor opened {.number = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)};
    if (opened.number < 0) {
        if (fs::is_symlink(fs::symlink_status(folder)))
            refuse("is a link");
        throw fs::filesystem_error {"cannot open", folder, std::error_code {errno, std::generic_category()}};
    }
    struct stat status {};
    if (fstat(opened.number, &status) != 0)
        throw fs::filesystem_error {"cannot look at", folder, std::error_code {errno, std::generic_category()}};
    if (status.st_uid != geteuid())
        refuse("belongs to the user " + std::to_string(status.st_uid) + ", not to this one ("
            + std::to_string(geteuid()) + ")");
    constexpr mode_t others = S_IRWXG | S_IRWXO;
    if ((status.st_mode & others) != 0 && fchmod(opened.number, status.st_mode & S_IRWXU) != 0 && errno != EROFS)
        throw fs::filesystem_error {"cannot make private", folder, std::error_code {errno, std::generic_category()}};
}

// Only a regular file of our own is opened: a pipe would hang, and a link leads to somebody else's file.
void requireOwnFile(const fs::path& file)
{
    struct stat status {};
    if (lstat(file.c_str(), &status) != 0) {
        if (errno == ENOENT)
            return;
        throw fs::filesystem_error {"cannot look at", file, std::error_code {errno, std::generic_category()}};
    }
    if (!S_ISREG(status.st_mode))
        throw std::runtime_error {file.filename().string()
            + (S_ISLNK(status.st_mode)        ? " is a link"
                    : S_ISDIR(status.st_mode) ? " is a folder"
                                              : " is no file")};
    if (status.st_uid != geteuid())
        throw std::runtime_error {file.filename().string() + " belongs to the user " + std::to_string(status.st_uid)
            + ", not to this one (" + std::to_string(geteuid()) + ")"};
}

// SQLite gives the log and the index beside a database the permissions of the database itself.
void makePrivateFile(const fs::path& file)
{
    constexpr mode_t ownersAlone = S_IRUSR | S_IWUSR;
    if (!fs::exists(file)) {
        const Descriptor created {
            .number = open(file.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, ownersAlone)};
        if (created.number < 0)
            throw fs::filesystem_error {"cannot create", file, std::error_code {errno, std::generic_category()}};
        // Undoes what the process's file mode mask has taken away.
        fchmod(created.number, ownersAlone);
    }
    // Takes away what others may do, and nothing of what the owner has set.
    constexpr auto others = fs::perms::group_all | fs::perms::others_all;
    if ((fs::status(file).permissions() & others) != fs::perms::none)
        fs::permissions(file, others, fs::perm_options::remove);
}

// Two that are set aside in one second, or after the clock was set back, get different names.
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

StoreFile::StoreFile(fs::path folder, std::shared_ptr<const BusyTimeout> timeout)
    : m_folder(std::move(folder))
    , m_path(m_folder / "defaults.sqlite")
    , m_timeout(std::move(timeout))
{
}

FolderLock StoreFile::lockFolder(const BusyTimeout& timeout) const
{
    return {m_folder / "defaults.lock", timeout};
}

std::unique_ptr<StoreTables> StoreFile::open()
{
    makePrivateFolder(m_folder);
    requireOwnFolder(m_folder);
    const auto lock = lockFolder(*m_timeout);
    try {
        return openHere(lock);
    } catch (const SQLiteFailure& failure) {
        if (!failure.isDamage())
            throw;
    }
    // A disk that had one bad moment is no damage: the file is read once more, later.
    requireReadableDisk();
    try {
        return openHere(lock);
    } catch (const SQLiteFailure& failure) {
        if (!failure.isDamage())
            throw;
    }
    return replaceDamaged(lock);
}

std::unique_ptr<StoreTables> StoreFile::beginAfresh()
{
    const auto lock = lockFolder(*m_timeout);
    if (!m_seen[0] || !isOpened(0))
        return openHere(lock);
    requireReadableDisk();
    return replaceDamaged(lock);
}

std::unique_ptr<StoreTables> StoreFile::openHere(const FolderLock& lock)
{
    requireOwnFiles();
    makePrivateFile(m_path);
    auto tables = std::make_unique<StoreTables>(m_path, m_timeout);
    for (std::size_t index = 0; index < suffixes.size(); ++index)
        m_seen[index] = stateOf(m_path.string() + suffixes[index]);
    m_hasLog = tables->hasLog();
    lock.setStamp(m_seen[0] ? std::optional {m_seen[0]->stamp} : std::nullopt);
    return tables;
}

// SQLite trusts what stands beside the file, a journal of other times included.
void StoreFile::requireOwnFiles() const
{
    for (const auto* suffix : {"", "-wal", "-shm", "-journal"})
        requireOwnFile(m_path.string() + suffix);
}

std::unique_ptr<StoreTables> StoreFile::replaceDamaged(const FolderLock& lock)
{
    const auto aside = setAside();
    std::unique_ptr<StoreTables> tables;
    std::string saved;
    try {
        tables = openHere(lock);
        saved = salvage(aside, *tables, m_timeout);
    } catch (...) {
        // A full or failing disk. The damaged file stands in its place again, for another attempt.
        tables.reset();
        for (const auto* suffix : suffixes) {
            std::error_code missing;
            fs::remove(m_path.string() + suffix, missing);
            fs::rename(aside.string() + suffix, m_path.string() + suffix, missing);
        }
        throw;
    }
    if (saved.empty())
        say("is damaged; it was set aside as " + aside.string()
            + " and an empty one begun: nothing could be read of it");
    else
        say("is damaged; it was set aside as " + aside.string()
            + " and a fresh one begun with what could be read: " + saved);
    return tables;
}

// A disk that fails is no damage: throws the system's error when any byte cannot be read.
void StoreFile::requireReadableDisk() const
{
    constexpr std::chrono::milliseconds pause {100};
    std::this_thread::sleep_for(pause);
    requireOwnFiles();
    SQLiteDatabase database {m_path, m_timeout, SQLiteDatabase::Mode::Existing};
    database.keepLogOnClose(true);
    database.readEveryByte();
}

std::unique_ptr<StoreTables> StoreFile::openReadOnly() const
{
    requireOwnFolder(m_folder);
    requireOwnFiles();
    std::error_code failure;
    const auto size = fs::file_size(m_path, failure);
    if (failure == std::errc::no_such_file_or_directory || (!failure && size == 0))
        return nullptr;
    return std::make_unique<StoreTables>(m_path, m_timeout, SQLiteDatabase::Mode::OnlyRead);
}

bool StoreFile::isDiskFull(const std::exception& failure)
{
    if (const auto* ofDatabase = dynamic_cast<const SQLiteFailure*>(&failure))
        return ofDatabase->isDiskFull();
    const auto* ofFile = dynamic_cast<const fs::filesystem_error*>(&failure);
    return ofFile && (ofFile->code().value() == ENOSPC || ofFile->code().value() == EDQUOT);
}

std::string StoreFile::whyReadOnly() const
{
    for (const auto& path : {m_path, m_folder}) {
        if (access(path.c_str(), W_OK) != 0 && errno != ENOENT && errno != ENOTDIR && errno != ELOOP)
            return "it can only be read (" + std::generic_category().message(errno) + ")";
    }
    return {};
}

fs::path StoreFile::setAside() const
{
    const auto aside = asideName(m_path);
    fs::rename(m_path, aside);
    for (const auto* suffix : {"-wal", "-shm"}) {
        std::error_code missing;
        fs::rename(m_path.string() + suffix, aside.string() + suffix, missing);
    }
    return aside;
}

std::optional<StoreFile::State> StoreFile::stateOf(const fs::path& file)
{
    struct stat status {};
    if (stat(file.c_str(), &status) != 0)
        return std::nullopt;
    constexpr std::int64_t nanoseconds = 1'000'000'000;
    return State {.device = status.st_dev,
        .number = status.st_ino,
        .stamp = {.modifiedNs = status.st_mtim.tv_sec * nanoseconds + status.st_mtim.tv_nsec,
            .size = static_cast<std::uint64_t>(status.st_size)}};
}

StoreFile::Change StoreFile::change()
{
    const auto file = stateOf(m_path);
    if (!file)
        return errno == ENOENT || errno == ENOTDIR ? Change::Replaced : Change::None;
    if (!m_seen[0] || !file->isSameFile(*m_seen[0]))
        return Change::Replaced;
    const auto log = m_seen[logIndex] ? stateOf(m_path.string() + suffixes[logIndex]) : std::nullopt;
    if (m_seen[logIndex] && (!log || !log->isSameFile(*m_seen[logIndex])))
        return Change::LogLost;
    const auto index = m_seen[shmIndex] ? stateOf(m_path.string() + suffixes[shmIndex]) : std::nullopt;
    if (m_seen[shmIndex] && (!index || !index->isSameFile(*m_seen[shmIndex])))
        return Change::LogLost;
    if (index && index->stamp.size < m_seen[shmIndex]->stamp.size)
        return Change::IndexCut;
    m_seen[shmIndex] = index;
    if (file->stamp != m_seen[0]->stamp && isChangedByStranger(*file))
        return file->stamp.size < m_seen[0]->stamp.size ? Change::Cut : Change::Overwritten;
    if (log) {
        if (log->stamp.size < m_seen[logIndex]->stamp.size)
            return Change::LogCut;
        m_seen[logIndex] = log;
    }
    return Change::None;
}

bool StoreFile::isChangedByStranger(const State& present)
{
    if (m_checkpoints > 0 || !m_hasLog)
        return false;
    // Another process may be in the middle of a checkpoint. That is not waited for each time.
    constexpr std::chrono::milliseconds longestWait {20};
    constexpr std::chrono::milliseconds pause {100};
    const auto now = BusyTimeout::Clock::now();
    if (now < m_nextStampCheck)
        return false;
    const auto lock = lockFolder(BusyTimeout {longestWait});
    if (!lock.isHeld()) {
        m_nextStampCheck = now + pause;
        return false;
    }
    const auto stamp = lock.stamp();
    const auto settled = stateOf(m_path);
    if (settled && (!stamp || *stamp == settled->stamp)) {
        m_seen[0] = settled;
        return false;
    }
    return settled && settled->isSameFile(present);
}

bool StoreFile::isOpened(std::size_t index) const
{
    const auto present = stateOf(m_path.string() + suffixes[index]);
    return present && m_seen[index] && present->isSameFile(*m_seen[index]);
}

bool StoreFile::rescueLog(StoreTables& tables) const
{
    const auto lock = lockFolder(*m_timeout);
    for (const auto index : {logIndex, shmIndex}) {
        if (fs::exists(m_path.string() + suffixes[index]) && !isOpened(index))
            return false;
    }
    try {
        return checkpoint(tables, lock);
    } catch (const SQLiteFailure&) {
        return false;
    }
}

void StoreFile::remove(std::size_t index) const
{
    std::error_code missing;
    if (isOpened(index))
        fs::remove(m_path.string() + suffixes[index], missing);
}

void StoreFile::discardLog() const
{
    const auto lock = lockFolder(*m_timeout);
    remove(logIndex);
    remove(shmIndex);
}

void StoreFile::emptyIndex() const
{
    const auto lock = lockFolder(*m_timeout);
    std::error_code missing;
    if (isOpened(shmIndex))
        fs::resize_file(m_path.string() + suffixes[shmIndex], 0, missing);
}

bool StoreFile::waitUntilWritten() const
{
    constexpr std::chrono::milliseconds pause {50};
    constexpr int longestWait = 20;
    const auto first = stateOf(m_path);
    auto last = first;
    for (int round = 0; round < longestWait; ++round) {
        std::this_thread::sleep_for(pause);
        const auto present = stateOf(m_path);
        const bool isStill = present && last && present->stamp == last->stamp;
        last = present;
        if (isStill)
            break;
    }
    return last && first && last->stamp != first->stamp;
}

template <typename Database> bool StoreFile::checkpoint(Database& database, const FolderLock& lock) const
{
    lock.setStamp(std::nullopt);
    const bool isWhole = database.checkpoint();
    const auto file = stateOf(m_path);
    lock.setStamp(file ? std::optional {file->stamp} : std::nullopt);
    return isWhole;
}

void StoreFile::checkpoint(const std::shared_ptr<BusyTimeout>& timeout) const
{
    timeout->begin();
    const auto lock = lockFolder(*timeout);
    SQLiteDatabase database {m_path, timeout, SQLiteDatabase::Mode::Existing};
    checkpoint(database, lock);
}

void StoreFile::shortenLog(StoreTables& tables)
{
    const int pages = tables.logPages();
    if (pages < longLogPages)
        m_nextShortening = longLogPages;
    if (m_checkpoints > 0 || pages < m_nextShortening)
        return;
    // A reader may keep the log from being moved whole; then it is tried again after as many pages.
    m_nextShortening = pages + longLogPages;
    const auto lock = lockFolder(BusyTimeout {std::chrono::milliseconds {0}});
    // A checkpoint that leaves no stamp looks like a stranger's change to other processes.
    if (!lock.isHeld())
        return;
    try {
        checkpoint(tables, lock);
    } catch (const SQLiteFailure&) {
        return;
    }
    if (isOpened(0))
        m_seen[0] = stateOf(m_path);
}

void StoreFile::endCheckpoint()
{
    --m_checkpoints;
    if (isOpened(0))
        m_seen[0] = stateOf(m_path);
}

void StoreFile::close(std::unique_ptr<StoreTables> tables)
{
    const auto lock = lockFolder(*m_timeout);
    lock.setStamp(std::nullopt);
    tables.reset();
    const auto file = stateOf(m_path);
    lock.setStamp(file ? std::optional {file->stamp} : std::nullopt);
}

void StoreFile::say(const std::string& message)
{
    if (message == m_lastSaid)
        return;
    m_lastSaid = message;
    const auto line = "KovaSDK: the store " + m_path.string() + " " + message + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace kova
