// The database file behind user defaults, as a thing in a folder: made, opened, watched, set aside.
//
// Somebody may delete, replace, cut or overwrite the file, or what SQLite keeps beside it, while it is in use; a
// connection does not notice, and writes on into what nobody will read again. So the files are compared with what they
// were before each operation. Threads: one at a time, but for checkpoint().

#pragma once

#include "Platform/Libraries/BusyTimeout.h"
#include "Platform/Libraries/FileState.h"
#include "Platform/Libraries/FolderLock.h"
#include "Platform/Libraries/StoreTables.h"

#include <array>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace kova {

class StoreFile {
public:
    StoreFile(std::filesystem::path folder, std::shared_ptr<const BusyTimeout> timeout);

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

    /// Opens the file, made with its folder when it is missing, for the owner alone. Throws when the folder belongs to
    /// somebody else, or links or other things than files stand in the way. A file that is proven to be damaged is set
    /// aside, and a fresh one begun with what can be read of it.
    [[nodiscard]] std::unique_ptr<StoreTables> open();

    /// Sets a file aside whose damage showed after it was opened, unless another process has done so already, and
    /// begins a fresh one with what can be read of it. Throws when the disk fails instead.
    [[nodiscard]] std::unique_ptr<StoreTables> beginAfresh();

    /// Opens what is stored where nothing can be written; null when nothing is stored.
    [[nodiscard]] std::unique_ptr<StoreTables> openReadOnly() const;

    /// Returns true if an open() failed because there is no room to write.
    [[nodiscard]] static bool isDiskFull(const std::exception& failure);

    /// The system's words when the file or its folder can only be read; else empty.
    [[nodiscard]] std::string whyReadOnly() const;

    enum class Change {
        None,
        /// The file is gone, or another stands in its place.
        Replaced,
        /// The file is shorter than it was, which it never gets by itself.
        Cut,
        /// The file's content was changed by somebody else than a checkpoint.
        Overwritten,
        /// The log or its index is gone, or another stands in its place.
        LogLost,
        /// The log is shorter than it was.
        LogCut,
        /// The index of the log is shorter than it was.
        IndexCut,
    };

    /// The change that somebody else has made to the files since they were opened or looked at last.
    [[nodiscard]] Change change();

    /// Returns true if the index of the log is shorter than it was. Cheaper than change().
    [[nodiscard]] bool isIndexCut() const;

    /// Returns true if the log that the tables write to is not the one that others read. Cheaper than change().
    [[nodiscard]] bool isLogExchanged() const { return m_seen[2] && !isOpened(2); }

    /// Saves what the tables still have in a log that was deleted. False when that fails, or another process has begun
    /// a new log already.
    [[nodiscard]] bool rescueLog(StoreTables& tables) const;

    /// Removes the log that was opened, with its index: read with another file than its own, it would damage it.
    void discardLog() const;
    /// Empties the index that was opened, so that everybody makes it anew from the log.
    void emptyIndex() const;

    /// Waits until a file that is being overwritten is whole; false when it was cut and nothing else.
    [[nodiscard]] bool waitUntilWritten() const;

    /// Call before checkpoint(): operations of other threads may run beside that.
    void beginCheckpoint() { ++m_checkpoints; }
    /// Moves the log into the file, over a connection of its own. Threads: any, one at a time.
    void checkpoint(const std::shared_ptr<BusyTimeout>& timeout) const;
    void endCheckpoint();
    /// Moves a log that has grown long into the file, unless checkpoint() is at it. What fails is left to that.
    void shortenLog(StoreTables& tables);

    /// Closes the tables; the last connection of all processes folds the log in.
    void close(std::unique_ptr<StoreTables> tables);

    /// Writes one line to standard error, unless it is the same as the one before.
    void say(const std::string& message);

private:
    [[nodiscard]] FolderLock lockFolder(const BusyTimeout& timeout) const;
    template <typename Database> bool checkpoint(Database& database, const FolderLock& lock) const;
    [[nodiscard]] std::unique_ptr<StoreTables> openHere(const FolderLock& lock);
    [[nodiscard]] std::unique_ptr<StoreTables> replaceDamaged(const FolderLock& lock);
    void requireOwnFiles() const;
    void requireReadableDisk() const;
    [[nodiscard]] std::filesystem::path setAside() const;
    [[nodiscard]] bool isChangedByStranger(const FileState& present);
    [[nodiscard]] bool isOpened(std::size_t index) const;
    void remove(std::size_t index) const;

    /// New pages of a growing log cost more than those of one that begins anew.
    static constexpr int longLogPages = 1'000;

    const std::filesystem::path m_folder;
    const std::filesystem::path m_path;
    /// The file, its log and its index.
    const std::array<std::filesystem::path, 3> m_files;
    const std::shared_ptr<const BusyTimeout> m_timeout;
    /// The file, its log and its index, as they were seen last.
    std::array<std::optional<FileState>, 3> m_seen;
    /// False where a write changes the file itself, so that its time tells nothing.
    bool m_hasLog = false;
    int m_checkpoints = 0;
    int m_nextShortening = longLogPages;
    BusyTimeout::Clock::time_point m_nextStampCheck {};
    std::string m_lastSaid;
};

} // namespace kova
