#include "Platform/Libraries/StoreSalvage.h"

#include "Platform/Foundation/Description.h"
#include "Platform/Foundation/PropertyList.h"

#include <iterator>
#include <map>
#include <optional>
#include <utility>

namespace kova {

namespace {

// Steps through a statement's rows until its end or the first that cannot be read. Returns true at the end.
template <typename Row> bool readRows(SQLiteStatement& statement, Row row)
{
    try {
        while (statement.step())
            row();
        return true;
    } catch (const SQLiteFailure&) {
        return false;
    }
}

std::optional<Value> decoded(std::int64_t kind, std::string_view bytes)
{
    if (kind == 0)
        return Value {Data {std::string {bytes}}};
    auto value = kind == 1 ? PropertyListDecoder::decode(bytes) : Value {};
    return value && !value->isNull() ? std::optional {*std::move(value)} : std::nullopt;
}

class Elements {
public:
    Elements(SQLiteDatabase& database, std::int64_t entry)
        : m_database(database)
        , m_entry(entry)
    {
    }

    [[nodiscard]] Value::Array read()
    {
        if (!readFrom("SELECT position, kind, value FROM element WHERE entry = ?1 ORDER BY position"))
            readPastDamage();
        Value::Array array;
        for (auto& [position, value] : m_found)
            array.append(std::move(value));
        return array;
    }

private:
    bool readFrom(std::string_view sql)
    {
        auto statement = m_database.prepare(sql);
        statement.with(m_entry);
        return readRows(statement, [&] { keep(statement); });
    }

    // Rows behind a damaged page are found from the other end, rows between two damaged pages by their positions.
    void readPastDamage()
    {
        constexpr std::int64_t longestGap = 100'000;
        constexpr auto backwards = "SELECT position, kind, value FROM element WHERE entry = ?1 ORDER BY position DESC";
        if (m_found.empty()) {
            readFrom(backwards);
            return;
        }
        const auto last = std::prev(m_found.end());
        readFrom(backwards);
        const auto next = std::next(last);
        if (next == m_found.end() || next->first - last->first > longestGap)
            return;
        const auto end = next->first;
        auto statement
            = m_database.prepare("SELECT position, kind, value FROM element WHERE entry = ?1 AND position = ?2");
        for (auto position = last->first + 1; position < end; ++position) {
            statement.with(m_entry, position);
            readRows(statement, [&] { keep(statement); });
        }
    }

    void keep(const SQLiteStatement& row)
    {
        if (auto value = decoded(row.integer(1), row.bytes(2)))
            m_found.insert_or_assign(row.integer(0), *std::move(value));
    }

    SQLiteDatabase& m_database;
    const std::int64_t m_entry;
    std::map<std::int64_t, Value> m_found;
};

struct Row {
    std::int64_t id = 0;
    std::int64_t kind = 0;
    std::optional<Value> value {};
};

std::map<std::string, Row> readEntries(SQLiteDatabase& database)
{
    std::map<std::string, Row> entries;
    const auto readFrom = [&](std::string_view sql) {
        auto statement = database.prepare(sql);
        return readRows(statement, [&] {
            const auto kind = statement.integer(2);
            entries.insert_or_assign(std::string {statement.bytes(1)},
                Row {.id = statement.integer(0), .kind = kind, .value = decoded(kind, statement.bytes(3))});
        });
    };
    // Not by the index of keys, which may be what is damaged.
    if (!readFrom("SELECT id, key, kind, value FROM entry NOT INDEXED ORDER BY id"))
        readFrom("SELECT id, key, kind, value FROM entry NOT INDEXED ORDER BY id DESC");
    return entries;
}

} // namespace

std::string salvage(
    const std::filesystem::path& aside, StoreTables& fresh, const std::shared_ptr<const BusyTimeout>& timeout)
{
    constexpr std::int64_t arrayKind = 2;
    std::map<std::string, Row> rows;
    try {
        SQLiteDatabase database {aside, timeout, SQLiteDatabase::Mode::Unchanged};
        rows = readEntries(database);
        for (auto& [key, row] : rows) {
            if (row.kind == arrayKind)
                row.value = Value {Elements {database, row.id}.read()};
        }
    } catch (const SQLiteFailure&) { // NOLINT(bugprone-empty-catch)
        // The rows that were read before are saved.
    }
    std::string saved;
    StoreTables::Transaction transaction {fresh};
    for (const auto& [key, row] : rows) {
        if (!row.value || !transaction.set(key, row.value))
            continue;
        saved.append(saved.empty() ? "" : ", ").append(debugDescription(key));
        if (const auto* array = row.value->as<Value::Array>())
            saved.append(" (" + std::to_string(array->size()) + " elements)");
    }
    transaction.commit();
    return saved;
}

} // namespace kova
