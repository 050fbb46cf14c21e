// What user defaults hold, kept through whatever happens to the disk.
//
// A value that cannot be written stays in memory, reads back from there and is written as soon as that works again: it
// is tried at the next write, by bringToDisk() and at the end. It is the later value then, whatever another process has
// written meanwhile. Values whose checkpoint is not over are remembered, too, so that they can be written once more
// should the file be deleted, replaced, cut or found damaged before. Where the file cannot be opened for writing, what
// is stored is read all the same. What goes wrong is said once on standard error, and once when it goes well again.
// Threads: any.

#pragma once

#include "Platform/Libraries/StoreFile.h"

#include <chrono>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace kova {

class KeptValues {
public:
    KeptValues(std::filesystem::path folder, std::chrono::milliseconds busyTimeout);

    [[nodiscard]] std::optional<Value> read(std::string_view key);

    /// Whether somebody should see to bringToDisk() soon: not said for what follows on a first value.
    [[nodiscard]] bool write(std::string_view key, std::optional<Value> value);

    enum class Progress { Done, MoreCame, Failed };

    /// Writes what waits in memory and checkpoints, over a connection of its own so that no writer waits for the disk.
    Progress bringToDisk();

    /// From this moment on no lock is waited for any more.
    void hurry(std::chrono::steady_clock::time_point deadline) { m_patience->endAt(deadline); }

    /// The last attempt for what waits, and the end: reads find nothing and writes are dropped from then on.
    void end();

private:
    enum Trouble : unsigned { Reading = 1, Writing = 2, Syncing = 4 };

    struct UnsyncedValue {
        std::optional<Value> value;
        std::uint64_t number = 0;
    };

    void open();
    void letGo();
    void lookAfterFile();
    template <typename Operation> auto perform(Operation operation);
    void writeToStore(const std::string& key, const std::optional<Value>& value);
    void writeWaiting();
    void failed(Trouble trouble, const std::exception& failure);
    void succeeded(Trouble trouble);

    const std::shared_ptr<Patience> m_patience;

    // Guards everything below, and the use of the connection.
    std::mutex m_mutex;
    StoreFile m_file;
    std::unique_ptr<StoredValues> m_store;
    /// Why the store can only be read; it is opened for each operation then, and closed again.
    std::string m_whyReadOnly;
    std::chrono::steady_clock::time_point m_lastLook {};
    /// The latest value of each key that could not be written.
    std::map<std::string, std::optional<Value>, std::less<>> m_unwritten;
    /// The latest value of each key that was written and may not be on the disk.
    std::map<std::string, UnsyncedValue, std::less<>> m_unsynced;
    std::uint64_t m_writes = 0;
    /// Keys whose last read failed, other than for damage: the next write of such a key is refused.
    std::set<std::string, std::less<>> m_failedReads;
    unsigned m_troubles = 0;
    bool m_hasEnded = false;
};

} // namespace kova
