#include "Benchmarks/Support/BareStore.h"

#include "Benchmarks/Support/Require.h"

#include <sqlite3.h>

namespace kova::benchmarks {

BareStore::BareStore(const std::filesystem::path& file)
{
    require(sqlite3_open(file.c_str(), &m_database) == SQLITE_OK, "the bare database cannot be opened");
    execute("PRAGMA journal_mode = WAL");
    execute("PRAGMA synchronous = NORMAL");
    execute("CREATE TABLE element (entry INTEGER, position INTEGER, kind INTEGER, value BLOB, "
            "PRIMARY KEY (entry, position)) WITHOUT ROWID");
    execute("CREATE TABLE entry (id INTEGER PRIMARY KEY, key TEXT NOT NULL UNIQUE, value BLOB NOT NULL)");
    m_insert = prepare("INSERT INTO element VALUES (1, ?1, 0, ?2)");
    m_remove = prepare("DELETE FROM element WHERE entry = 1 AND position = ?1");
    m_replace = prepare("INSERT INTO entry (key, value) VALUES ('value', ?1) "
                        "ON CONFLICT (key) DO UPDATE SET value = ?1");
}

BareStore::~BareStore()
{
    sqlite3_finalize(m_insert);
    sqlite3_finalize(m_remove);
    sqlite3_finalize(m_replace);
    sqlite3_close(m_database);
}

void BareStore::insert(std::string_view bytes)
{
    sqlite3_bind_int64(m_insert, 1, m_end++);
    sqlite3_bind_blob(m_insert, 2, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
    run(m_insert);
}

void BareStore::removeFirst()
{
    sqlite3_bind_int64(m_remove, 1, m_first++);
    run(m_remove);
    require(sqlite3_changes(m_database) == 1, "there was no bare row to remove");
}

void BareStore::replace(std::string_view bytes)
{
    sqlite3_bind_blob(m_replace, 1, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
    run(m_replace);
}

void BareStore::execute(const char* sql)
{
    require(sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sql);
}

sqlite3_stmt* BareStore::prepare(const char* sql)
{
    sqlite3_stmt* statement = nullptr;
    require(sqlite3_prepare_v2(m_database, sql, -1, &statement, nullptr) == SQLITE_OK, sql);
    return statement;
}

void BareStore::run(sqlite3_stmt* statement)
{
    require(sqlite3_step(statement) == SQLITE_DONE, "a bare row cannot be written");
    sqlite3_reset(statement);
}

} // namespace kova::benchmarks
