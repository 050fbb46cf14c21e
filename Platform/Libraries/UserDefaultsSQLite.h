// User defaults in a SQLite database: "defaults.sqlite" in the application's own folder.
//
// A value is one row: bytes as they are, an array as one row an element, anything else as a binary property list.
// Writing an array writes the elements that differ; what differs is worked out inside the write transaction, so that
// two processes never tear each other's lists. A write is in the operating system's hands when setObject returns (a
// killed process loses nothing) and on the disk within a second (a power cut takes no more). A damaged database is set
// aside under another name and said once on standard error; where the folder cannot be used at all, that is said and
// values live in memory until the process ends. Threads: any.

#pragma once

#include "Platform/Foundation/UserDefaults.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace kova {

class UserDefaultsSQLite final : public UserDefaults {
public:
    struct Options {
        /// Created with its parents, for the owner alone, when it is missing.
        std::filesystem::path folder;
        /// How long another process that holds the store is waited for.
        std::chrono::milliseconds busyTimeout {5'000};
        /// How long a write may stay in the write-ahead log before it is brought to the disk.
        std::chrono::milliseconds checkpointDelay {500};
    };

    explicit UserDefaultsSQLite(Options options);
    ~UserDefaultsSQLite() override;

    [[nodiscard]] std::optional<Value> object(std::string_view key) override;
    void setObject(std::string_view key, std::optional<Value> value) override;
    void synchronize() override;

    /// Brings everything to the disk and lets go of the file. From then on reads find nothing and writes are dropped.
    void close();

private:
    class Store;

    void open();
    void openOrSetAside();
    void setAside();
    void complain(const std::string& message);
    template <typename Result, typename Operation> Result perform(const char* what, Operation operation);
    void checkpointInBackground(const std::stop_token& stop);
    void checkpoint();

    const Options m_options;
    const std::filesystem::path m_file;

    // Guards everything below, and the use of the connection.
    std::mutex m_mutex;
    std::unique_ptr<Store> m_store;
    std::string m_lastComplaint;
    /// Keys whose last read failed, other than for damage: the next write of such a key is refused.
    std::set<std::string> m_failedReads;
    /// No more work is taken.
    bool m_isClosed = false;
    bool m_isInMemory = false;
    bool m_needsCheckpoint = false;
    std::condition_variable_any m_written;
    std::jthread m_checkpointer;
};

} // namespace kova
