// User defaults in a SQLite database: "defaults.sqlite" in the application's own folder.
//
// A value is one row: bytes as they are, an array as one row an element, anything else as a binary property list.
// Writing an array writes the elements that differ. An update is in the operating system's hands when update() returns
// (a killed process loses nothing) and on the disk within a second (a power cut takes no more). A database that is
// proven to be damaged is set aside under another name, and a fresh one begun with what can be read of it. While the
// store cannot be read or written, updates are kept in memory as functions and replayed when it can be again; what is
// stored can be read meanwhile where the disk allows it. Threads: any.

#pragma once

#include "Platform/Foundation/UserDefaults.h"
#include "Platform/Libraries/ReplayingStore.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <thread>

namespace kova {

class UserDefaultsSQLite final : public UserDefaults {
public:
    struct Options {
        /// Created with its parents, for the owner alone, when it is missing. Not used when it belongs to another user
        /// or is a link.
        std::filesystem::path folder;
        /// How long one call waits for another process that holds the store. While that goes on, later calls wait for a
        /// twentieth of a second only.
        std::chrono::milliseconds busyTimeout {4'000};
        /// How long a write may stay in the write-ahead log before it is brought to the disk.
        std::chrono::milliseconds checkpointDelay {500};
        /// How long close() waits for a disk that hangs.
        std::chrono::milliseconds closeTimeout {1'000};
    };

    explicit UserDefaultsSQLite(Options options);
    ~UserDefaultsSQLite() override;

    [[nodiscard]] std::optional<Value> object(std::string_view key) override;
    void setObject(std::string_view key, std::optional<Value> value) override;
    void update(std::string_view key, Change change) override;
    void synchronize() override;

    /// Brings everything to the disk and closes the file. From then on reads find nothing and updates are dropped.
    /// Returns how many updates could not be stored and are lost; a repeated call returns the same.
    std::size_t close();

private:
    struct Background;

    void schedule(ReplayingStore::Flush flush);
    [[nodiscard]] bool startThread();

    const Options m_options;
    /// Shared with the thread, which outlives this object when the disk hangs.
    const std::shared_ptr<Background> m_background;
    std::atomic<bool> m_isClosed = false;
    std::atomic<bool> m_hasThread = false;
    /// Guarded by the mutex in the background.
    std::jthread m_thread;
    std::size_t m_lost = 0;
};

} // namespace kova
