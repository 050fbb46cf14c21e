// The tables behind user defaults: one connection, the rows, and what is remembered of long arrays.
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

namespace kova {

class StoredValues {
public:
    /// Opens or creates the tables in a file ("" stands for memory).
    StoredValues(const std::filesystem::path& file, const std::shared_ptr<const Patience>& patience,
        SQLiteDatabase::Mode mode = SQLiteDatabase::Mode::Create);

    [[nodiscard]] std::optional<Value> read(std::string_view key);

    /// False, with nothing changed, when the value is no property-list value.
    [[nodiscard]] bool write(std::string_view key, const Value& value);

    void remove(std::string_view key);

    /// Whether the file turned out to be one that can only be read.
    [[nodiscard]] bool isReadOnly() const { return m_database.isReadOnly(); }

    /// Moves the log into the file over this connection.
    void checkpoint() { m_database.checkpoint(); }

    /// To be called before a file is let go of that is damaged or no longer ours: the log beside it stays as it is.
    void leaveLogBehind() { m_database.keepLogOnClose(true); }

private:
    /// How a row's bytes are to be read. Stored: the numbers are for ever.
    enum class Kind : std::int64_t { Bytes = 0, PropertyList = 1, Array = 2 };

    /// An array as it stands in the element table, from `first` on without gaps: dropping elements from the front
    /// removes rows and renumbers none.
    struct StoredArray {
        std::int64_t entry = 0;
        std::int64_t first = 0;
        Value::Array elements {};
    };

    struct Entry {
        std::int64_t id = 0;
        Kind kind = Kind::Bytes;
        /// None when the row cannot be read as its kind. Arrays are not loaded here.
        std::optional<Value> value {};
    };

    struct EncodedRow;

    [[nodiscard]] static std::optional<EncodedRow> encoded(const Value& value);
    [[nodiscard]] static std::optional<Value> decoded(Kind kind, std::string_view bytes);

    /// Of the tables; 0 when there are none. Throws when it is newer than this one's, with nothing changed.
    [[nodiscard]] std::int64_t findVersion();
    void makeTables();
    void forgetArraysIfChangedElsewhere();
    [[nodiscard]] std::optional<Entry> readEntry(std::string_view key);
    [[nodiscard]] std::optional<StoredArray> loadArray(std::int64_t entry);
    [[nodiscard]] bool writeArray(std::string_view key, const Value::Array& array);
    std::int64_t writeEntry(std::string_view key, Kind kind, std::string_view bytes);

    SQLiteDatabase m_database;
    /// Without the right to write, none are made.
    bool m_hasTables = false;
    std::optional<SQLiteStatement> m_dataVersion;
    std::optional<SQLiteStatement> m_readEntry;
    std::optional<SQLiteStatement> m_writeEntry;
    std::optional<SQLiteStatement> m_removeEntry;
    std::optional<SQLiteStatement> m_readElements;
    std::optional<SQLiteStatement> m_insertElement;
    std::optional<SQLiteStatement> m_removeElements;
    std::optional<SQLiteStatement> m_removeAllElements;

    /// Arrays as they stood when the database had the version m_version; trusted only while it has.
    std::map<std::string, StoredArray, std::less<>> m_arrays;
    std::int64_t m_version = -1;
};

} // namespace kova
