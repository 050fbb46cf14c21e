// A SQLite connection and its prepared statements, owned: what the store behind user defaults is built on.
//
// A failure is an SQLiteFailure exception, so that a transaction in the middle of which something fails is rolled back
// by the way out. Threads: one at a time.

#pragma once

#include "Platform/Libraries/BusyTimeout.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

namespace kova {

class SQLiteFailure : public std::runtime_error {
public:
    /// The code is SQLite's, extended or not; the system's own error, if it is known, is part of the message already.
    SQLiteFailure(int code, const std::string& message, int systemError = 0);

    /// For what SQLite itself does not see.
    [[nodiscard]] static SQLiteFailure damage(const std::string& message);

    /// Returns true if the file's content is at fault: it is no database, a damaged one, or not one of ours. A read
    /// error of the system is no damage.
    [[nodiscard]] bool isDamage() const;

    /// Returns true if a file ended too early: somebody else has cut it.
    [[nodiscard]] bool isCut() const;

    /// Returns true if the index of the log was lost in the middle of an operation: somebody has cut it, or the disk is
    /// full. It can be used again when the file is opened again.
    [[nodiscard]] bool isIndexLost() const;

    /// Returns true if there is no room to write. What is stored may be readable then.
    [[nodiscard]] bool isDiskFull() const;

private:
    int m_code = 0;
    int m_systemError = 0;
};

class SQLiteStatement {
public:
    SQLiteStatement(sqlite3& database, std::string_view sql);

    /// Binds the parameters in order and starts from the beginning. Texts and bytes are borrowed until the statement is
    /// run or bound again.
    template <typename... Parameters> SQLiteStatement& with(const Parameters&... parameters)
    {
        reset();
        int index = 0;
        (bind(++index, parameters), ...);
        return *this;
    }

    /// Advances to the next row; false when there is none, and then the statement has been reset.
    [[nodiscard]] bool step();
    /// Runs a statement that yields nothing.
    void run();
    void reset();

    [[nodiscard]] std::int64_t integer(int column) const;
    /// The bytes of a column, valid until the next step.
    [[nodiscard]] std::string_view bytes(int column) const;

    struct Blob {
        std::string_view bytes;
    };

private:
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const;
    };

    void bind(int index, std::int64_t value);
    void bind(int index, std::string_view text);
    void bind(int index, Blob blob);
    void check(int code) const;

    std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
};

class SQLiteDatabase {
public:
    enum class Mode {
        /// Made when it is missing.
        Create,
        Existing,
        /// Read without locks and without anything being made beside the file: for when nobody can write it.
        OnlyRead,
        /// Read beside those who use it, and left as it is with its log; the index of a log that a killed process has
        /// left is made anew. A log without an index is not looked into.
        Unchanged,
    };

    /// Opens a file. Another process that holds a lock is waited for until the time-out is over, here and in every
    /// statement.
    SQLiteDatabase(
        const std::filesystem::path& file, std::shared_ptr<const BusyTimeout> timeout, Mode mode = Mode::Create);
    /// Gives each statement a budget of its own.
    SQLiteDatabase(const std::filesystem::path& file, std::chrono::milliseconds busyTimeout, Mode mode = Mode::Create);

    void execute(const char* sql);

    /// Begins a transaction; one for writing takes its lock now, where waiting for another process is possible.
    void beginReading() { runCached(m_beginReading, "BEGIN"); }
    void beginWriting()
    {
        m_wait->hasWaited = false;
        runCached(m_beginWriting, "BEGIN IMMEDIATE");
    }
    /// Returns true if another process was waited for since beginWriting().
    [[nodiscard]] bool hasWaited() const { return m_wait->hasWaited; }
    void commit() { runCached(m_commit, "COMMIT"); }
    /// Ends the transaction that is open, if SQLite has not rolled it back by itself.
    void rollBack() noexcept;

    [[nodiscard]] SQLiteStatement prepare(std::string_view sql);

    /// The row id of the latest INSERT on this connection.
    [[nodiscard]] std::int64_t lastInsertedRow() const;

    /// How many pages the write-ahead log held after the latest transaction of this connection.
    [[nodiscard]] int logPages() const { return *m_logPages; }

    /// Returns true if the file can only be read.
    [[nodiscard]] bool isReadOnly() const;

    /// Reads every byte of the file, past SQLite's cache; throws what the system answers. A disk that fails shows here;
    /// wrong content does not.
    void readEveryByte();

    /// Whether closing leaves the write-ahead log and its index beside the file, as evidence of damage, or folds the
    /// log in and deletes both, as it does at first.
    void keepLogOnClose(bool keeps);

    /// Brings the write-ahead log to the disk and moves it into the file as far as readers allow. Writers are not held
    /// up. Returns true if it was moved whole; then it is written from its beginning again.
    bool checkpoint();

private:
    struct Closer {
        void operator()(sqlite3* database) const;
    };

    /// A wait for a lock.
    struct Wait {
        std::shared_ptr<const BusyTimeout> timeout;
        /// Set when each statement has a budget of its own.
        std::shared_ptr<BusyTimeout> ownTimeout {};
        bool hasWaited = false;
    };

    SQLiteDatabase(const std::filesystem::path& file, Mode mode, Wait wait);

    static int goOnWaiting(void* wait, int earlierCalls);
    void syncLog();

    /// Preparing such a statement costs as much as running it, so each is prepared once.
    void runCached(std::optional<SQLiteStatement>& statement, std::string_view sql);

    std::unique_ptr<Wait> m_wait;
    std::unique_ptr<int> m_logPages = std::make_unique<int>(0);
    std::unique_ptr<sqlite3, Closer> m_database;
    std::optional<SQLiteStatement> m_beginReading;
    std::optional<SQLiteStatement> m_beginWriting;
    std::optional<SQLiteStatement> m_commit;
};

/// A transaction: rolled back on destruction unless it was committed.
class SQLiteTransaction {
public:
    enum class Kind { Read, Write };

    SQLiteTransaction(SQLiteDatabase& database, Kind kind);
    ~SQLiteTransaction();
    SQLiteTransaction(const SQLiteTransaction&) = delete;
    SQLiteTransaction& operator=(const SQLiteTransaction&) = delete;

    void commit();

private:
    SQLiteDatabase* m_database;
};

} // namespace kova
