// A disk that records what SQLite asks of it, and shows what could be left of it after a power cut at any moment.
//
// What was brought to the disk is there. Of what came after, anything may be there: nothing, all of it, a beginning,
// single writes, single sectors of a write, and rubbish where a sector was being written. A deleted file may be back.
// Threads: any may write; one at a time looks.

#pragma once

#include "Tests/Support/SQLiteDisk.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <vector>

namespace kova::tests {

class RecordingDisk final : public SQLiteDisk {
public:
    using Clock = std::chrono::steady_clock;

    /// How many calls have been recorded: a moment at which the power may go.
    [[nodiscard]] std::size_t position() const;
    /// When the call at this position began.
    [[nodiscard]] Clock::time_point timeAt(std::size_t position) const;

    /// To be moved forward over a record that has ended.
    class PowerCut {
    public:
        explicit PowerCut(const RecordingDisk& disk)
            : m_disk(disk)
        {
        }

        void advanceTo(std::size_t position);
        /// Leaves in the folder what may be left of all files after a cut here.
        void leaveFiles(const std::filesystem::path& folder, std::mt19937& random) const;

    private:
        const RecordingDisk& m_disk;
        std::size_t m_position = 0;
        /// By file name: what is on the disk for certain, and the records since then.
        std::map<std::string, std::string> m_synced;
        std::map<std::string, std::vector<std::size_t>> m_pending;
        /// What was deleted and may come back, until the folder is brought to the disk.
        std::map<std::string, std::string> m_ghosts;
    };

private:
    struct Record {
        Call call;
        std::string name;
        std::int64_t offset;
        std::string bytes;
        bool bringsFolderToo;
        Clock::time_point time;
    };

    int before(const Access& access) override;
    static void apply(const Record& record, std::string& content);
    static void applyInPart(const Record& record, std::string& content, std::mt19937& random);

    mutable std::mutex m_mutex;
    std::vector<Record> m_records;
};

} // namespace kova::tests
