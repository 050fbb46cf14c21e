// The values of user defaults, through whatever happens to the disk: updates are functions, kept and replayed.
//
// An update runs inside a write transaction of the tables. While these cannot be read or written, updates are kept as
// functions, in order, and replayed on what is really stored as soon as that works: at the next update, by flush() and
// at the end. Until then this process reads the last value it knew with the kept updates applied. Updates that were
// written but are not on the disk yet are kept, too, so that they can be replayed should the file be deleted, replaced,
// cut or found damaged. Trouble is said once on standard error, and its end once. Threads: any.

#pragma once

#include "Platform/Foundation/UserDefaults.h"
#include "Platform/Libraries/StoreFile.h"
#include "Platform/Libraries/ValueFingerprint.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace kova {

class ReplayingStore {
public:
    ReplayingStore(std::filesystem::path folder, std::chrono::milliseconds busyTimeout);

    [[nodiscard]] std::optional<Value> read(std::string_view key);

    /// An update wants a flush some time after it, unless one is due already.
    enum class Flush { IsDue, Needed };

    /// Runs the function in a write transaction, or keeps it. Rethrows what the function throws, with nothing changed.
    Flush update(std::string_view key, UserDefaults::Change change);

    /// Like update(), with a function that returns this value whatever is stored: earlier updates need not be kept.
    Flush set(std::string_view key, std::optional<Value> value);

    enum class Progress { Done, MoreCame, Failed };

    /// Replays what is kept and checkpoints, over a connection of its own so that no writer waits for the disk.
    Progress flush();

    /// Ends every wait for a lock at this moment.
    void hurry(std::chrono::steady_clock::time_point deadline);

    /// Tries for the last time to store what is kept, and closes the file. Reads find nothing and updates are dropped
    /// from then on. Returns how many updates are lost, having said so. A repeated call returns the same.
    std::size_t close();

    /// The number of updates that are kept and not stored. Waits for nobody.
    [[nodiscard]] std::size_t pendingCount() const { return m_pendingCount; }

private:
    using Values = std::map<std::string, std::optional<Value>, std::less<>>;

    enum Trouble : unsigned { Reading = 1, Writing = 2, Syncing = 4 };

    struct Update {
        std::string key;
        UserDefaults::Change change;
        /// Set when the result does not depend on what is stored.
        bool isConstant = false;
        /// Recognises the value that this update left when it was stored.
        std::optional<ValueFingerprint> result {};
        std::uint64_t number = 0;
    };

    /// A stored value with the kept updates of its key applied.
    struct View {
        std::optional<Value> base;
        std::optional<Value> value;
        /// How many of all kept updates have been looked at.
        std::size_t applied = 0;
    };

    /// Thrown inside an operation, on seeing that somebody else has changed the files.
    struct FileChanged {
        StoreFile::Change change;
    };

    struct InTransaction;

    void open();
    void closeTables();
    void dropTables();
    void throwIfChanged();
    void recover(StoreFile::Change change);
    template <typename Operation> auto perform(Operation operation);
    Flush add(Update update);
    void keepLast();
    void applyPending();
    [[nodiscard]] std::optional<Value> apply(
        StoreTables::Transaction& transaction, const std::string& key, std::vector<std::size_t>& refused);
    void noteResults(const Values& values);
    void noteWritten(Update update);
    [[nodiscard]] std::optional<Progress> tryFlush(int attempt);
    [[nodiscard]] std::optional<Value> readInUpdate(std::string_view key);
    [[nodiscard]] std::optional<Value> run(const Update& update, std::optional<Value> present);
    [[nodiscard]] std::size_t firstMissing(std::string_view key, const std::optional<Value>& present) const;
    [[nodiscard]] std::optional<Value> viewed(std::string_view key, const std::optional<Value>& base);
    void sayRefused(const std::string& key);
    void failed(Trouble trouble, const std::exception& failure);
    void succeeded(Trouble trouble);
    std::unique_lock<std::mutex> lock();

    const std::shared_ptr<BusyTimeout> m_timeout;
    const std::shared_ptr<BusyTimeout> m_flushTimeout;
    std::atomic<std::size_t> m_pendingCount = 0;
    /// The thread in which a function of an update runs.
    std::atomic<std::thread::id> m_runningThread;

    // Guards everything below, and the use of the connection.
    std::mutex m_mutex;
    StoreFile m_file;
    std::unique_ptr<StoreTables> m_tables;
    /// Why the store can only be read; it is opened for each operation then, and closed again.
    std::string m_whyReadOnly;
    /// Set while functions run in a transaction of the tables.
    StoreTables::Transaction* m_transaction = nullptr;
    /// Updates that are not stored, in order.
    std::deque<Update> m_pending;
    /// Updates that are stored and may not be on the disk, in order.
    std::deque<Update> m_unsynced;
    std::uint64_t m_updates = 0;
    std::map<std::string, View, std::less<>> m_views;
    /// The latest value of each key that was read or written.
    Values m_lastKnown;
    /// The exception that the latest kept update has thrown.
    std::exception_ptr m_thrown;
    unsigned m_troubles = 0;
    /// Set when an update was kept since the last trouble with writing began.
    bool m_hasKept = false;
    bool m_isClosed = false;

    // Held during a checkpoint, and while a file is judged: a descriptor that is closed lets go of SQLite's locks.
    std::mutex m_checkpointMutex;
};

} // namespace kova
