// The tables behind user defaults: one connection, its rows, and the values that were read or written last.
//
// Operations throw SQLiteFailure and leave the tables as they were then. Threads: one at a time.

#pragma once

#include "Platform/Foundation/Value.h"
#include "Platform/Libraries/SQLiteDatabase.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kova {

class StoreTables {
public:
    /// Opens the tables of a file, made when they are missing.
    StoreTables(const std::filesystem::path& file, const std::shared_ptr<const BusyTimeout>& timeout,
        SQLiteDatabase::Mode mode = SQLiteDatabase::Mode::Create);

    /// The present value of a key, whoever wrote it; none when there is none or its row cannot be decoded.
    [[nodiscard]] std::optional<Value> read(std::string_view key);

    class Transaction;

    /// Returns true if the file can only be read.
    [[nodiscard]] bool isReadOnly() const { return m_database.isReadOnly(); }

    /// Returns true if writes go to a write-ahead log, so that only a checkpoint changes the file itself.
    [[nodiscard]] bool hasLog() const { return m_hasLog; }

    /// Moves the log into the file over this connection. Returns true if it was moved whole.
    bool checkpoint() { return m_database.checkpoint(); }
    [[nodiscard]] int logPages() const { return m_database.logPages(); }

    /// Leaves the log as it is when the connection is closed: the file is damaged or no longer ours.
    void leaveLogBehind() { m_database.keepLogOnClose(true); }

private:
    /// How a row's bytes are to be read. Stored: the numbers are for ever.
    enum class Kind : std::int64_t { Bytes = 0, PropertyList = 1, Array = 2 };

    /// A key as it stands in the tables.
    struct Entry {
        /// The number of the key's row, which may be any; none without a row.
        std::optional<std::int64_t> id {};
        Kind kind = Kind::Bytes;
        /// The position of an array's first element: positions have no gaps, and dropping elements from the front
        /// removes rows and renumbers none.
        std::int64_t first = 0;
        std::optional<Value> value {};
    };

    using Entries = std::map<std::string, Entry, std::less<>>;

    struct EncodedRow;

    [[nodiscard]] static std::optional<EncodedRow> encoded(const Value& value);
    [[nodiscard]] static std::optional<Value> decoded(Kind kind, std::string_view bytes);

    /// The version of the tables; 0 when there are none. Throws when it is newer than this one's, with nothing changed.
    [[nodiscard]] std::int64_t findVersion();
    void makeTables();
    void forgetEntriesIfChangedElsewhere();
    /// The entry of a key, read when it is not known. To be called in a transaction.
    [[nodiscard]] const Entry& entry(std::string_view key);
    [[nodiscard]] Entry readEntry(std::string_view key);
    [[nodiscard]] bool loadArray(Entry& entry);
    [[nodiscard]] std::optional<Entry> write(std::string_view key, const Entry& old, const std::optional<Value>& value);
    [[nodiscard]] std::optional<Entry> writeArray(std::string_view key, const Entry& old, const Value::Array& array);
    [[nodiscard]] std::int64_t writeEntry(std::string_view key, const Entry& old, const EncodedRow& row);

    SQLiteDatabase m_database;
    bool m_hasLog = false;
    /// False for an older file that may not be written.
    bool m_hasTables = false;
    std::optional<SQLiteStatement> m_dataVersion;
    std::optional<SQLiteStatement> m_readEntry;
    std::optional<SQLiteStatement> m_insertEntry;
    std::optional<SQLiteStatement> m_updateEntry;
    std::optional<SQLiteStatement> m_removeEntry;
    std::optional<SQLiteStatement> m_readElements;
    std::optional<SQLiteStatement> m_insertElement;
    std::optional<SQLiteStatement> m_removeElements;
    std::optional<SQLiteStatement> m_removeAllElements;

    /// Entries as they stood when the database had the version m_version; trusted only while it has.
    Entries m_entries;
    std::int64_t m_version = -1;
};

// A write transaction: what it sets is seen by nobody else before commit(), and is undone without it.
class StoreTables::Transaction {
public:
    /// Takes the write lock, waiting for other processes.
    explicit Transaction(StoreTables& tables);

    /// Returns true if another process held the lock at first.
    [[nodiscard]] bool hasWaited() const { return m_tables.m_database.hasWaited(); }

    /// The value of a key as this transaction sees it.
    [[nodiscard]] std::optional<Value> value(std::string_view key);

    /// Returns false, with nothing changed, when the value is no property-list value. None removes the key.
    [[nodiscard]] bool set(std::string_view key, const std::optional<Value>& value);

    void commit();

private:
    StoreTables& m_tables;
    SQLiteTransaction m_transaction;
    /// Entries that this transaction has changed.
    Entries m_changed;
};

} // namespace kova
