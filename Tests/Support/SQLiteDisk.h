// The disk that SQLite sees while one of these lives: every call goes on to the real one, after it was looked at.
//
// It stands below every connection that is opened while it lives and must outlive them. Nothing is brought to the real
// disk for certain, since no test cuts its power. Threads: any; what derives from it guards what it keeps.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace kova::tests {

class SQLiteDisk {
public:
    enum class Call { Open, Read, Write, Truncate, Sync, Delete, MapIndex };

    struct Access {
        Call call;
        /// The path; a log's ends in "-wal". The index of a log goes by the name of its database.
        std::string_view file;
        std::int64_t offset = 0;
        /// Of a write; how many of a read.
        std::string_view bytes {};
        std::size_t size = 0;
        /// Of a sync, whether it is the first since this log or journal was opened: that brings the folder, and so
        /// every name in it, to the disk as well.
        bool bringsFolderToo = false;
    };

    SQLiteDisk();
    virtual ~SQLiteDisk();
    SQLiteDisk(const SQLiteDisk&) = delete;
    SQLiteDisk& operator=(const SQLiteDisk&) = delete;

    /// Of all connections.
    [[nodiscard]] std::size_t openFiles() const;

protected:
    /// Runs before each call, on its thread: zero lets it through, a result code of SQLite's fails it, only that of
    /// what can only be read has a file open, to be read.
    virtual int before(const Access& access) = 0;

private:
    struct Vfs;
    struct File;

    std::unique_ptr<Vfs> m_vfs;
};

} // namespace kova::tests
