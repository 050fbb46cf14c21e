#include "Platform/Libraries/StoreTables.h"

#include "Platform/Foundation/PropertyList.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

namespace kova {

namespace {

constexpr std::int64_t ourVersion = 1;

bool isSame(const Value& left, const Value& right)
{
    const auto* leftData = left.as<Data>();
    const auto* rightData = right.as<Data>();
    return leftData && rightData && leftData->isIdenticalTo(*rightData);
}

} // namespace

struct StoreTables::EncodedRow {
    Kind kind = Kind::Bytes;
    Data bytes;
};

StoreTables::StoreTables(
    const std::filesystem::path& file, const std::shared_ptr<const BusyTimeout>& timeout, SQLiteDatabase::Mode mode)
    : m_database(file, timeout, mode)
{
    const bool isReadOnlyFile = m_database.isReadOnly();
    // Should the file turn out to be damaged, its log must not be deleted by the failure.
    m_database.keepLogOnClose(true);
    const auto version = findVersion();
    if (mode == SQLiteDatabase::Mode::Create) {
        auto journal = m_database.prepare("PRAGMA journal_mode = WAL");
        m_hasLog = journal.step() && journal.bytes(0) == "wal";
        journal.run();
        // Without a log a write is on the disk at its end, or a power cut could damage the file.
        m_database.execute(m_hasLog ? "PRAGMA synchronous = NORMAL" : "PRAGMA synchronous = FULL");
    }
    if (version != ourVersion) {
        if (mode != SQLiteDatabase::Mode::Create)
            return;
        makeTables();
    }
    m_hasTables = true;
    m_dataVersion = m_database.prepare("PRAGMA data_version");
    m_readEntry = m_database.prepare("SELECT id, kind, value FROM entry WHERE key = ?1");
    // One statement with RETURNING would do, but it copies a large value to a temporary file first.
    m_insertEntry = m_database.prepare("INSERT INTO entry (key, kind, value) VALUES (?1, ?2, ?3)");
    m_updateEntry = m_database.prepare("UPDATE entry SET kind = ?2, value = ?3 WHERE id = ?1");
    m_removeEntry = m_database.prepare("DELETE FROM entry WHERE id = ?1");
    m_readElements = m_database.prepare("SELECT position, kind, value FROM element WHERE entry = ?1 ORDER BY position");
    m_insertElement = m_database.prepare("INSERT INTO element (entry, position, kind, value) VALUES (?1, ?2, ?3, ?4)");
    m_removeElements = m_database.prepare("DELETE FROM element WHERE entry = ?1 AND position >= ?2 AND position < ?3");
    m_removeAllElements = m_database.prepare("DELETE FROM element WHERE entry = ?1");
    // Touches every entry, so that most damage shows when the store is opened and not in the middle of the day.
    m_database.execute("SELECT id, key, kind FROM entry");
    if (mode != SQLiteDatabase::Mode::Create)
        return;
    // A damaged header may ask for a file format that SQLite reads but does not write.
    if (m_database.isReadOnly() && !isReadOnlyFile)
        throw SQLiteFailure::damage("its header asks for a newer file format");
    m_database.keepLogOnClose(false);
}

std::int64_t StoreTables::findVersion()
{
    auto statement = m_database.prepare("PRAGMA user_version");
    const auto version = statement.step() ? statement.integer(0) : 0;
    if (version > ourVersion)
        throw std::runtime_error {"it was written by a newer version of the SDK"};
    return version;
}

void StoreTables::makeTables()
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

std::optional<StoreTables::EncodedRow> StoreTables::encoded(const Value& value)
{
    if (const auto* data = value.as<Data>())
        return EncodedRow {.kind = Kind::Bytes, .bytes = *data};
    auto list = PropertyListEncoder::encode(value);
    if (!list)
        return std::nullopt;
    return EncodedRow {.kind = Kind::PropertyList, .bytes = *std::move(list)};
}

std::optional<Value> StoreTables::decoded(Kind kind, std::string_view bytes)
{
    if (kind == Kind::Bytes)
        return Value {Data {std::string {bytes}}};
    if (kind != Kind::PropertyList)
        return std::nullopt;
    auto value = PropertyListDecoder::decode(bytes);
    return value ? std::optional {*std::move(value)} : std::nullopt;
}

void StoreTables::forgetEntriesIfChangedElsewhere()
{
    m_dataVersion->reset();
    const auto version = m_dataVersion->step() ? m_dataVersion->integer(0) : -1;
    m_dataVersion->reset();
    if (version != m_version)
        m_entries.clear();
    m_version = version;
}

const StoreTables::Entry& StoreTables::entry(std::string_view key)
{
    auto known = m_entries.find(key);
    if (known == m_entries.end())
        known = m_entries.emplace(key, readEntry(key)).first;
    return known->second;
}

StoreTables::Entry StoreTables::readEntry(std::string_view key)
{
    if (!m_readEntry->with(key).step())
        return {};
    Entry entry {.id = m_readEntry->integer(0), .kind = static_cast<Kind>(m_readEntry->integer(1))};
    if (entry.kind != Kind::Array)
        entry.value = decoded(entry.kind, m_readEntry->bytes(2));
    m_readEntry->reset();
    if (entry.kind == Kind::Array && !loadArray(entry))
        entry.value = std::nullopt;
    return entry;
}

bool StoreTables::loadArray(Entry& entry)
{
    // Positions grow with every element that was ever appended; a list that begins so far out is none of ours, and its
    // next position may not be a number any more.
    constexpr auto farthest = std::numeric_limits<std::int64_t>::max() / 2;
    Value::Array elements;
    m_readElements->with(entry.id.value_or(0));
    while (m_readElements->step()) {
        const auto position = m_readElements->integer(0);
        if (elements.empty())
            entry.first = position;
        auto value = decoded(static_cast<Kind>(m_readElements->integer(1)), m_readElements->bytes(2));
        if (!value || entry.first < -farthest || entry.first > farthest
            || position != entry.first + static_cast<std::int64_t>(elements.size())) {
            m_readElements->reset();
            return false;
        }
        elements.append(*std::move(value));
    }
    entry.value = Value {std::move(elements)};
    return true;
}

std::optional<Value> StoreTables::read(std::string_view key)
{
    if (!m_hasTables)
        return std::nullopt;
    forgetEntriesIfChangedElsewhere();
    if (const auto known = m_entries.find(key); known != m_entries.end())
        return known->second.value;

    // An entry and its elements are two statements, read as of one moment.
    SQLiteTransaction transaction {m_database, SQLiteTransaction::Kind::Read};
    forgetEntriesIfChangedElsewhere();
    auto value = entry(key).value;
    transaction.commit();
    return value;
}

std::optional<StoreTables::Entry> StoreTables::write(
    std::string_view key, const Entry& old, const std::optional<Value>& value)
{
    if (!value) {
        if (old.id) {
            m_removeAllElements->with(*old.id).run();
            m_removeEntry->with(*old.id).run();
        }
        return Entry {};
    }
    if (old.value && isSame(*old.value, *value))
        return old;
    if (const auto* array = value->as<Value::Array>())
        return writeArray(key, old, *array);
    const auto row = encoded(*value);
    if (!row)
        return std::nullopt;
    const auto id = writeEntry(key, old, *row);
    if (old.kind == Kind::Array)
        m_removeAllElements->with(id).run();
    return Entry {.id = id, .kind = row->kind, .first = 0, .value = value};
}

std::optional<StoreTables::Entry> StoreTables::writeArray(
    std::string_view key, const Entry& old, const Value::Array& array)
{
    const auto* oldArray = old.kind == Kind::Array && old.value ? old.value->as<Value::Array>() : nullptr;
    const Value::Array none;
    const auto& present = oldArray ? *oldArray : none;

    // The usual changes are at the ends: elements dropped from the front, others appended. Rows in between stay.
    std::size_t dropped = 0;
    std::size_t kept = array.matchingPrefix(present);
    if (kept < std::min(array.size(), present.size())) {
        const auto surplus = present.size() - std::min(array.size(), present.size());
        if (surplus > 0 && array.matchingPrefix(present, surplus) == array.size()) {
            dropped = surplus;
            kept = array.size();
        } else if (kept == 0) {
            const auto found = std::find(present.begin(), present.end(), array[0]);
            dropped = static_cast<std::size_t>(std::distance(present.begin(), found));
            kept = array.matchingPrefix(present, dropped);
        }
    }

    // Encoded before anything is written: a value that cannot be stored leaves the array as it was.
    std::vector<EncodedRow> added;
    added.reserve(array.size() - kept);
    for (std::size_t index = kept; index < array.size(); ++index) {
        auto row = encoded(array[index]);
        if (!row)
            return std::nullopt;
        added.push_back(*std::move(row));
    }
    Entry entry {.id = old.id, .kind = Kind::Array, .first = oldArray ? old.first : 0, .value = Value {array}};
    if (!oldArray) {
        entry.id = writeEntry(key, old, {.kind = Kind::Array, .bytes = {}});
        m_removeAllElements->with(*entry.id).run();
    }
    const auto id = *entry.id;
    const auto positionOf = [&](std::size_t index) { return entry.first + static_cast<std::int64_t>(index); };
    if (dropped > 0)
        m_removeElements->with(id, positionOf(0), positionOf(dropped)).run();
    if (dropped + kept < present.size())
        m_removeElements->with(id, positionOf(dropped + kept), positionOf(present.size())).run();
    for (std::size_t index = 0; index < added.size(); ++index) {
        m_insertElement
            ->with(id, positionOf(dropped + kept + index), static_cast<std::int64_t>(added[index].kind),
                SQLiteStatement::Blob {added[index].bytes.text()})
            .run();
    }
    entry.first = positionOf(dropped);
    return entry;
}

std::int64_t StoreTables::writeEntry(std::string_view key, const Entry& old, const EncodedRow& row)
{
    const auto kind = static_cast<std::int64_t>(row.kind);
    const SQLiteStatement::Blob bytes {row.bytes.text()};
    if (old.id) {
        m_updateEntry->with(*old.id, kind, bytes).run();
        return *old.id;
    }
    m_insertEntry->with(key, kind, bytes).run();
    return m_database.lastInsertedRow();
}

StoreTables::Transaction::Transaction(StoreTables& tables)
    : m_tables(tables)
    , m_transaction(tables.m_database, SQLiteTransaction::Kind::Write)
{
    m_tables.forgetEntriesIfChangedElsewhere();
}

std::optional<Value> StoreTables::Transaction::value(std::string_view key)
{
    const auto changed = m_changed.find(key);
    return changed == m_changed.end() ? m_tables.entry(key).value : changed->second.value;
}

bool StoreTables::Transaction::set(std::string_view key, const std::optional<Value>& value)
{
    const auto changed = m_changed.find(key);
    auto entry = m_tables.write(key, changed == m_changed.end() ? m_tables.entry(key) : changed->second, value);
    if (!entry)
        return false;
    if (changed == m_changed.end())
        m_changed.emplace(key, *std::move(entry));
    else
        changed->second = *std::move(entry);
    return true;
}

void StoreTables::Transaction::commit()
{
    m_transaction.commit();
    for (auto& [key, entry] : m_changed)
        m_tables.m_entries.insert_or_assign(key, std::move(entry));
}

} // namespace kova
