// User defaults in a SQLite database: "defaults.sqlite" in the application's own folder.
//
// A value is one row: bytes as they are, an array as one row an element, anything else as a binary property list.
// Writing an array writes the elements that differ; what differs is worked out inside the write transaction, so that
// two processes never tear each other's lists. A write is in the operating system's hands when setObject returns (a
// killed process loses nothing) and on the disk within a second (a power cut takes no more). A damaged database is set
// aside under another name and a fresh one begun. What cannot be written is kept in memory and written when that works
// again; what is stored can be read meanwhile. Threads: any.

#pragma once

#include "Platform/Foundation/UserDefaults.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <thread>

namespace kova {

class UserDefaultsSQLite final : public UserDefaults {
public:
    struct Options {
        /// Created with its parents, for the owner alone, when it is missing.
        std::filesystem::path folder;
        /// How long another process that holds the store is waited for. While it goes on holding it, what follows waits
        /// for a twentieth of a second only.
        std::chrono::milliseconds busyTimeout {5'000};
        /// How long a write may stay in the write-ahead log before it is brought to the disk.
        std::chrono::milliseconds checkpointDelay {500};
        /// How long close() waits for a disk that hangs.
        std::chrono::milliseconds closeTimeout {1'000};
    };

    explicit UserDefaultsSQLite(Options options);
    ~UserDefaultsSQLite() override;

    [[nodiscard]] std::optional<Value> object(std::string_view key) override;
    void setObject(std::string_view key, std::optional<Value> value) override;
    void synchronize() override;

    /// Brings everything to the disk and lets go of the file. From then on reads find nothing and writes are dropped.
    void close();

private:
    struct Background;

    void startThread();

    const Options m_options;
    /// Shared with the thread, which outlives this object when the disk hangs.
    const std::shared_ptr<Background> m_background;
    std::atomic<bool> m_isClosed = false;
    /// Guarded by the mutex in the background.
    std::jthread m_thread;
};

} // namespace kova
