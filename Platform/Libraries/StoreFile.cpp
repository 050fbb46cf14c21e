#include "Platform/Libraries/StoreFile.h"

#include "Platform/Libraries/FolderLock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <system_error>
#include <utility>

namespace kova {

namespace fs = std::filesystem;

namespace {

// The file itself, its log, and the index of its log.
constexpr std::array<const char*, 3> suffixes {"", "-wal", "-shm"};

// A new name outlives a power cut only when the folder it stands in was brought to the disk.
void bringFolderToDisk(const fs::path& folder)
{
    const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    fsync(descriptor);
    close(descriptor);
}

// Every part of the path that is missing is made, for the owner alone.
void makePrivateFolder(const fs::path& folder)
{
    if (fs::is_directory(folder))
        return;
    if (folder.has_parent_path() && folder.parent_path() != folder)
        makePrivateFolder(folder.parent_path());
    fs::create_directory(folder);
    fs::permissions(folder, fs::perms::owner_all);
    bringFolderToDisk(folder.parent_path());
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
        constexpr mode_t ownersAlone = S_IRUSR | S_IWUSR;
        const int created = ::open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, ownersAlone);
        if (created < 0)
            throw fs::filesystem_error {"cannot create", file, std::error_code {errno, std::generic_category()}};
        // Whatever the process's mask has taken away.
        fchmod(created, ownersAlone);
        close(created);
    }
    makePrivate(file);
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

StoreFile::StoreFile(fs::path folder, std::shared_ptr<const Patience> patience)
    : m_folder(std::move(folder))
    , m_path(m_folder / "defaults.sqlite")
    , m_patience(std::move(patience))
{
}

std::unique_ptr<StoredValues> StoreFile::open()
{
    makePrivateFolder(m_folder);
    makePrivate(m_folder);
    const FolderLock lock {m_folder / "defaults.lock", *m_patience};
    try {
        return openHere();
    } catch (const SQLiteFailure& failure) {
        if (!failure.isDamage())
            throw;
    }
    setAside();
    return openHere();
}

std::unique_ptr<StoredValues> StoreFile::beginAfresh()
{
    const FolderLock lock {m_folder / "defaults.lock", *m_patience};
    if (m_opened[0] && identityOf(m_path) == m_opened[0])
        setAside();
    return openHere();
}

std::unique_ptr<StoredValues> StoreFile::openHere()
{
    makePrivateFile(m_path);
    auto store = std::make_unique<StoredValues>(m_path, m_patience);
    for (std::size_t index = 0; index < suffixes.size(); ++index)
        m_opened[index] = identityOf(m_path.string() + suffixes[index]);
    m_longest = 0;
    noteLength();
    return store;
}

std::unique_ptr<StoredValues> StoreFile::openToReadOnly() const
{
    std::error_code failure;
    const auto size = fs::file_size(m_path, failure);
    const bool isMissing = failure == std::errc::no_such_file_or_directory || failure == std::errc::not_a_directory;
    if (isMissing || (!failure && size == 0))
        return std::make_unique<StoredValues>(fs::path {}, m_patience);
    return std::make_unique<StoredValues>(m_path, m_patience, SQLiteDatabase::Mode::OnlyRead);
}

bool StoreFile::isForWantOfRoom(const std::exception& failure)
{
    // What is no failure of SQLite's comes from making the folder or the file.
    if (const auto* ofDatabase = dynamic_cast<const SQLiteFailure*>(&failure))
        return ofDatabase->isForWantOfRoom();
    return dynamic_cast<const fs::filesystem_error*>(&failure) != nullptr;
}

std::string StoreFile::whyReadOnly() const
{
    for (const auto& path : {m_path, m_folder}) {
        if (access(path.c_str(), W_OK) != 0 && errno != ENOENT && errno != ENOTDIR)
            return "it can only be read (" + std::generic_category().message(errno) + ")";
    }
    return {};
}

void StoreFile::setAside()
{
    const auto aside = asideName(m_path);
    fs::rename(m_path, aside);
    for (const auto* suffix : {"-wal", "-shm"}) {
        std::error_code missing;
        fs::rename(m_path.string() + suffix, aside.string() + suffix, missing);
    }
    say("is damaged; it was set aside as " + aside.string() + " and a fresh one begun");
}

std::optional<StoreFile::Identity> StoreFile::identityOf(const fs::path& file)
{
    struct stat status {};
    if (stat(file.c_str(), &status) != 0)
        return std::nullopt;
    return Identity {.device = status.st_dev, .number = status.st_ino};
}

StoreFile::Change StoreFile::changeSinceOpening()
{
    struct stat status {};
    if (stat(m_path.c_str(), &status) != 0)
        return errno == ENOENT || errno == ENOTDIR ? Change::Replaced : Change::None;
    if (Identity {.device = status.st_dev, .number = status.st_ino} != m_opened[0])
        return Change::Replaced;
    for (std::size_t index = 1; index < suffixes.size(); ++index) {
        if (m_opened[index] && identityOf(m_path.string() + suffixes[index]) != m_opened[index])
            return Change::LogLost;
    }
    return static_cast<std::uintmax_t>(status.st_size) < m_longest ? Change::Cut : Change::None;
}

void StoreFile::noteLength()
{
    std::error_code missing;
    const auto length = fs::file_size(m_path, missing);
    if (!missing)
        m_longest = std::max(m_longest, length);
}

void StoreFile::removeOldLog() const
{
    const FolderLock lock {m_folder / "defaults.lock", *m_patience};
    for (std::size_t index = 1; index < suffixes.size(); ++index) {
        const auto file = m_path.string() + suffixes[index];
        std::error_code missing;
        if (m_opened[index] && identityOf(file) == m_opened[index])
            fs::remove(file, missing);
    }
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
