#include "Platform/Libraries/StoredValues.h"

#include "Platform/Foundation/PropertyList.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <vector>

namespace kova {

namespace {

constexpr std::int64_t ourVersion = 1;

} // namespace

struct StoredValues::EncodedRow {
    Kind kind = Kind::Bytes;
    Data bytes;
};

StoredValues::StoredValues(
    const std::filesystem::path& file, const std::shared_ptr<const Patience>& patience, SQLiteDatabase::Mode mode)
    : m_database(file, patience, mode)
{
    const bool canOnlyBeRead = m_database.isReadOnly();
    // Should the file turn out to be damaged, its log must not be deleted by the failure.
    m_database.keepLogOnClose(true);
    const auto version = findVersion();
    if (mode == SQLiteDatabase::Mode::Create) {
        m_database.execute("PRAGMA journal_mode = WAL");
        m_database.execute("PRAGMA synchronous = NORMAL");
    }
    if (version != ourVersion) {
        if (mode == SQLiteDatabase::Mode::OnlyRead)
            return;
        makeTables();
    }
    m_hasTables = true;
    m_dataVersion = m_database.prepare("PRAGMA data_version");
    m_readEntry = m_database.prepare("SELECT id, kind, value FROM entry WHERE key = ?1");
    m_writeEntry = m_database.prepare("INSERT INTO entry (key, kind, value) VALUES (?1, ?2, ?3) "
                                      "ON CONFLICT (key) DO UPDATE SET kind = ?2, value = ?3 RETURNING id");
    m_removeEntry = m_database.prepare("DELETE FROM entry WHERE key = ?1");
    m_readElements = m_database.prepare("SELECT position, kind, value FROM element WHERE entry = ?1 ORDER BY position");
    m_insertElement = m_database.prepare("INSERT INTO element (entry, position, kind, value) VALUES (?1, ?2, ?3, ?4)");
    m_removeElements = m_database.prepare("DELETE FROM element WHERE entry = ?1 AND position >= ?2 AND position < ?3");
    m_removeAllElements = m_database.prepare("DELETE FROM element WHERE entry = ?1");
    // Touches every entry, so that most damage shows when the store is opened and not in the middle of the day.
    m_database.execute("SELECT id, key, kind FROM entry");
    if (mode == SQLiteDatabase::Mode::OnlyRead)
        return;
    // A damaged header may ask for a file format that SQLite reads but does not write.
    if (m_database.isReadOnly() && !canOnlyBeRead)
        throw SQLiteFailure::damage("its header asks for a newer file format");
    m_database.keepLogOnClose(false);
}

std::int64_t StoredValues::findVersion()
{
    auto statement = m_database.prepare("PRAGMA user_version");
    const auto version = statement.step() ? statement.integer(0) : 0;
    if (version > ourVersion)
        throw std::runtime_error {"it was written by a newer version of the SDK"};
    return version;
}

void StoredValues::makeTables()
{
    SQLiteTransaction transaction {m_database, SQLiteTransaction::Kind::Write};
    m_database.execute("CREATE TABLE IF NOT EXISTS entry ("
                       "id INTEGER PRIMARY KEY, key TEXT NOT NULL UNIQUE, kind INTEGER NOT NULL, value BLOB NOT NULL)");
    m_database.execute("CREATE TABLE IF NOT EXISTS element ("
                       "entry INTEGER NOT NULL, position INTEGER NOT NULL, kind INTEGER NOT NULL, value BLOB NOT NULL, "
                       "PRIMARY KEY (entry, position)) WITHOUT ROWID");
    m_database.execute(("PRAGMA user_version = " + std::to_string(ourVersion)).c_str());
    transaction.commit();
}

std::optional<StoredValues::EncodedRow> StoredValues::encoded(const Value& value)
{
    if (const auto* data = value.as<Data>())
        return EncodedRow {.kind = Kind::Bytes, .bytes = *data};
    auto list = PropertyListEncoder::encode(value);
    if (!list)
        return std::nullopt;
    return EncodedRow {.kind = Kind::PropertyList, .bytes = *std::move(list)};
}

std::optional<Value> StoredValues::decoded(Kind kind, std::string_view bytes)
{
    if (kind == Kind::Bytes)
        return Value {Data {std::string {bytes}}};
    if (kind != Kind::PropertyList)
        return std::nullopt;
    auto value = PropertyListDecoder::decode(bytes);
    return value ? std::optional {*std::move(value)} : std::nullopt;
}

void StoredValues::forgetArraysIfChangedElsewhere()
{
    m_dataVersion->reset();
    const auto version = m_dataVersion->step() ? m_dataVersion->integer(0) : -1;
    m_dataVersion->reset();
    if (version != m_version)
        m_arrays.clear();
    m_version = version;
}

std::optional<StoredValues::Entry> StoredValues::readEntry(std::string_view key)
{
    if (!m_readEntry->with(key).step())
        return std::nullopt;
    Entry entry {.id = m_readEntry->integer(0), .kind = static_cast<Kind>(m_readEntry->integer(1))};
    entry.value = decoded(entry.kind, m_readEntry->bytes(2));
    m_readEntry->reset();
    return entry;
}

std::optional<StoredValues::StoredArray> StoredValues::loadArray(std::int64_t entry)
{
    // Positions grow with every element that was ever appended; a list that begins so far out is none of ours, and its
    // next position may be none.
    constexpr auto farthest = std::numeric_limits<std::int64_t>::max() / 2;
    StoredArray array {.entry = entry};
    m_readElements->with(entry);
    while (m_readElements->step()) {
        const auto position = m_readElements->integer(0);
        if (array.elements.empty())
            array.first = position;
        auto value = decoded(static_cast<Kind>(m_readElements->integer(1)), m_readElements->bytes(2));
        if (!value || array.first < -farthest || array.first > farthest
            || position != array.first + static_cast<std::int64_t>(array.elements.size())) {
            m_readElements->reset();
            return std::nullopt;
        }
        array.elements.append(*std::move(value));
    }
    return array;
}

std::optional<Value> StoredValues::read(std::string_view key)
{
    if (!m_hasTables)
        return std::nullopt;
    forgetArraysIfChangedElsewhere();
    if (const auto known = m_arrays.find(key); known != m_arrays.end())
        return Value {known->second.elements};

    // An entry and its elements are two statements, read as of one moment.
    SQLiteTransaction transaction {m_database, SQLiteTransaction::Kind::Read};
    forgetArraysIfChangedElsewhere();
    auto entry = readEntry(key);
    std::optional<StoredArray> array;
    if (entry && entry->kind == Kind::Array)
        array = loadArray(entry->id);
    transaction.commit();
    if (array) {
        entry->value = Value {array->elements};
        m_arrays.insert_or_assign(std::string {key}, *std::move(array));
    }
    return entry ? std::move(entry->value) : std::nullopt;
}

bool StoredValues::write(std::string_view key, const Value& value)
{
    if (const auto* array = value.as<Value::Array>())
        return writeArray(key, *array);
    const auto row = encoded(value);
    if (!row)
        return false;
    SQLiteTransaction transaction {m_database, SQLiteTransaction::Kind::Write};
    forgetArraysIfChangedElsewhere();
    const auto id = writeEntry(key, row->kind, row->bytes.text());
    m_removeAllElements->with(id).run();
    transaction.commit();
    if (const auto known = m_arrays.find(key); known != m_arrays.end())
        m_arrays.erase(known);
    return true;
}

bool StoredValues::writeArray(std::string_view key, const Value::Array& array)
{
    SQLiteTransaction transaction {m_database, SQLiteTransaction::Kind::Write};
    forgetArraysIfChangedElsewhere();

    std::optional<StoredArray> stored;
    if (const auto known = m_arrays.find(key); known != m_arrays.end()) {
        stored = known->second;
    } else if (const auto entry = readEntry(key); entry && entry->kind == Kind::Array) {
        stored = loadArray(entry->id);
    }
    if (!stored) {
        stored = StoredArray {.entry = writeEntry(key, Kind::Array, {})};
        m_removeAllElements->with(stored->entry).run();
    }

    // The usual changes are at the ends: elements dropped from the front, others appended. What stands in between
    // stays.
    const auto& old = stored->elements;
    std::size_t dropped = 0;
    std::size_t kept = array.matchingPrefix(old);
    if (kept < std::min(array.size(), old.size())) {
        const auto surplus = old.size() - std::min(array.size(), old.size());
        if (surplus > 0 && array.matchingPrefix(old, surplus) == array.size()) {
            dropped = surplus;
            kept = array.size();
        } else if (kept == 0) {
            const auto found = std::find(old.begin(), old.end(), array[0]);
            dropped = static_cast<std::size_t>(std::distance(old.begin(), found));
            kept = array.matchingPrefix(old, dropped);
        }
    }

    // Encoded before anything is written: a value that cannot be stored leaves the array as it was.
    std::vector<EncodedRow> added;
    added.reserve(array.size() - kept);
    for (std::size_t index = kept; index < array.size(); ++index) {
        auto row = encoded(array[index]);
        if (!row)
            return false;
        added.push_back(*std::move(row));
    }
    const auto positionOf = [&](std::size_t index) { return stored->first + static_cast<std::int64_t>(index); };
    if (dropped > 0)
        m_removeElements->with(stored->entry, positionOf(0), positionOf(dropped)).run();
    if (dropped + kept < old.size())
        m_removeElements->with(stored->entry, positionOf(dropped + kept), positionOf(old.size())).run();
    for (std::size_t index = 0; index < added.size(); ++index) {
        m_insertElement
            ->with(stored->entry, positionOf(dropped + kept + index), static_cast<std::int64_t>(added[index].kind),
                SQLiteStatement::Blob {added[index].bytes.text()})
            .run();
    }
    transaction.commit();
    m_arrays.insert_or_assign(
        std::string {key}, StoredArray {.entry = stored->entry, .first = positionOf(dropped), .elements = array});
    return true;
}

std::int64_t StoredValues::writeEntry(std::string_view key, Kind kind, std::string_view bytes)
{
    m_writeEntry->with(key, static_cast<std::int64_t>(kind), SQLiteStatement::Blob {bytes});
    const auto id = m_writeEntry->step() ? m_writeEntry->integer(0) : 0;
    m_writeEntry->run();
    return id;
}

void StoredValues::remove(std::string_view key)
{
    SQLiteTransaction transaction {m_database, SQLiteTransaction::Kind::Write};
    forgetArraysIfChangedElsewhere();
    if (const auto entry = readEntry(key)) {
        m_removeAllElements->with(entry->id).run();
        m_removeEntry->with(key).run();
    }
    transaction.commit();
    if (const auto known = m_arrays.find(key); known != m_arrays.end())
        m_arrays.erase(known);
}

} // namespace kova
