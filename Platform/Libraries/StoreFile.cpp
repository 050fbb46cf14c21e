#include "Platform/Libraries/StoreFile.h"

#include "Platform/Foundation/Date.h"
#include "Platform/Libraries/PrivateFiles.h"
#include "Platform/Libraries/StoreSalvage.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
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

// Two that are set aside in one second, or after the clock was set back, get different names.
fs::path asideName(const fs::path& file)
{
    auto stamp = description(Date::now()).substr(0, std::string_view {"yyyy-MM-dd HH:mm:ss"}.size());
    std::erase_if(stamp, [](char letter) { return letter == '-' || letter == ':'; });
    std::ranges::replace(stamp, ' ', 'T');
    const auto base = file.string() + ".damaged-" + stamp + "Z";
    auto name = base;
    for (int number = 2; fs::exists(name); ++number)
        name = base + "-" + std::to_string(number);
    return name;
}

std::optional<FileState> stateOf(const fs::path& file)
{
    std::error_code ignored;
    return fileState(file, ignored);
}

} // namespace

StoreFile::StoreFile(fs::path folder, std::shared_ptr<const BusyTimeout> timeout)
    : m_folder(std::move(folder))
    , m_path(m_folder / "defaults.sqlite")
    , m_files {m_path, m_path.string() + "-wal", m_path.string() + "-shm"}
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
        m_seen[index] = stateOf(m_files[index]);
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
        if (const auto refusal = writeRefusal(path))
            return "it can only be read (" + refusal.message() + ")";
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

StoreFile::Change StoreFile::change()
{
    std::error_code failure;
    const auto file = fileState(m_path, failure);
    if (!file) {
        const bool isGone = failure == std::errc::no_such_file_or_directory || failure == std::errc::not_a_directory;
        return isGone ? Change::Replaced : Change::None;
    }
    if (!m_seen[0] || !file->isSameFile(*m_seen[0]))
        return Change::Replaced;
    const auto log = m_seen[logIndex] ? stateOf(m_files[logIndex]) : std::nullopt;
    if (m_seen[logIndex] && (!log || !log->isSameFile(*m_seen[logIndex])))
        return Change::LogLost;
    const auto index = m_seen[shmIndex] ? stateOf(m_files[shmIndex]) : std::nullopt;
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

bool StoreFile::isChangedByStranger(const FileState& present)
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
    const auto present = stateOf(m_files[index]);
    return present && m_seen[index] && present->isSameFile(*m_seen[index]);
}

bool StoreFile::rescueLog(StoreTables& tables) const
{
    const auto lock = lockFolder(*m_timeout);
    for (const auto index : {logIndex, shmIndex}) {
        if (fs::exists(m_files[index]) && !isOpened(index))
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
        fs::remove(m_files[index], missing);
}

void StoreFile::discardLog() const
{
    const auto lock = lockFolder(*m_timeout);
    remove(logIndex);
    remove(shmIndex);
}

bool StoreFile::isIndexCut() const
{
    const auto& seen = m_seen[shmIndex];
    const auto present = seen ? stateOf(m_files[shmIndex]) : std::nullopt;
    return present && present->isSameFile(*seen) && present->stamp.size < seen->stamp.size;
}

void StoreFile::emptyIndex() const
{
    const auto lock = lockFolder(*m_timeout);
    std::error_code missing;
    if (isOpened(shmIndex))
        fs::resize_file(m_files[shmIndex], 0, missing);
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
