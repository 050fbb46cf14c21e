#include "Platform/Libraries/SQLiteDatabase.h"

#include <sqlite3.h>

#include <system_error>

namespace kova {

namespace {

SQLiteFailure failure(int code, sqlite3* database)
{
    std::string message = database ? sqlite3_errmsg(database) : sqlite3_errstr(code);
    if (const int systemError = database ? sqlite3_system_errno(database) : 0)
        message += " (" + std::generic_category().message(systemError) + ")";
    return {code & 0xFF, message};
}

} // namespace

SQLiteFailure::SQLiteFailure(int primaryCode, const std::string& message)
    : std::runtime_error(message)
    , m_primaryCode(primaryCode)
{
}

bool SQLiteFailure::isDamage() const
{
    // A statement that is no SQL for this file, SQLITE_ERROR, means that its tables are not ours.
    return m_primaryCode == SQLITE_CORRUPT || m_primaryCode == SQLITE_NOTADB || m_primaryCode == SQLITE_ERROR;
}

SQLiteFailure SQLiteFailure::damage(const std::string& message)
{
    return {SQLITE_CORRUPT, message};
}

void SQLiteStatement::Finalizer::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

SQLiteStatement::SQLiteStatement(sqlite3& database, std::string_view sql)
{
    sqlite3_stmt* statement = nullptr;
    const int code = sqlite3_prepare_v3(
        &database, sql.data(), static_cast<int>(sql.size()), SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
    m_statement.reset(statement);
    if (code != SQLITE_OK)
        throw failure(code, &database);
}

void SQLiteStatement::check(int code) const
{
    if (code != SQLITE_OK)
        throw failure(code, sqlite3_db_handle(m_statement.get()));
}

bool SQLiteStatement::step()
{
    const int code = sqlite3_step(m_statement.get());
    if (code == SQLITE_ROW)
        return true;
    if (code != SQLITE_DONE) {
        const auto why = failure(code, sqlite3_db_handle(m_statement.get()));
        reset();
        throw why;
    }
    reset();
    return false;
}

void SQLiteStatement::run()
{
    while (step()) { }
}

void SQLiteStatement::reset()
{
    sqlite3_reset(m_statement.get());
}

std::int64_t SQLiteStatement::integer(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}

std::string_view SQLiteStatement::bytes(int column) const
{
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(m_statement.get(), column));
    return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(m_statement.get(), column))};
}

void SQLiteStatement::bind(int index, std::int64_t value)
{
    check(sqlite3_bind_int64(m_statement.get(), index, value));
}

void SQLiteStatement::bind(int index, std::string_view text)
{
    check(sqlite3_bind_text64(m_statement.get(), index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void SQLiteStatement::bind(int index, Blob blob)
{
    // A null pointer would bind NULL, not an empty blob.
    const auto* bytes = blob.bytes.empty() ? "" : blob.bytes.data();
    check(sqlite3_bind_blob64(m_statement.get(), index, bytes, blob.bytes.size(), SQLITE_STATIC));
}

void SQLiteDatabase::Closer::operator()(sqlite3* database) const
{
    sqlite3_close_v2(database);
}

SQLiteDatabase::SQLiteDatabase(const std::filesystem::path& file, std::chrono::milliseconds busyTimeout)
{
    sqlite3* database = nullptr;
    // The connection is used by one thread at a time, so SQLite's own locking would be paid for nothing.
    constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    const int code = sqlite3_open_v2(file.empty() ? ":memory:" : file.c_str(), &database, flags, nullptr);
    m_database.reset(database);
    if (code != SQLITE_OK)
        throw failure(code, database);
    sqlite3_busy_timeout(database, static_cast<int>(busyTimeout.count()));
}

void SQLiteDatabase::execute(const char* sql)
{
    const int code = sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        throw failure(code, m_database.get());
}

void SQLiteDatabase::runKept(std::optional<SQLiteStatement>& statement, std::string_view sql)
{
    if (!statement)
        statement = prepare(sql);
    statement->run();
}

void SQLiteDatabase::rollBack() noexcept
{
    sqlite3_exec(m_database.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

SQLiteStatement SQLiteDatabase::prepare(std::string_view sql)
{
    return {*m_database, sql};
}

bool SQLiteDatabase::isReadOnly() const
{
    return sqlite3_db_readonly(m_database.get(), "main") == 1;
}

void SQLiteDatabase::keepLogOnClose(bool keeps)
{
    int flag = keeps ? 1 : 0;
    sqlite3_file_control(m_database.get(), "main", SQLITE_FCNTL_PERSIST_WAL, &flag);
    sqlite3_db_config(m_database.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, flag, nullptr);
}

void SQLiteDatabase::checkpoint()
{
    // As a statement, because the function of the same name does nothing on a connection that has not read yet.
    auto statement = prepare("PRAGMA wal_checkpoint(PASSIVE)");
    if (!statement.step() || statement.integer(1) < 0)
        throw SQLiteFailure {SQLITE_IOERR, "there is no write-ahead log"};
}

SQLiteTransaction::SQLiteTransaction(SQLiteDatabase& database, Kind kind)
    : m_database(&database)
{
    if (kind == Kind::Write)
        database.beginWriting();
    else
        database.beginReading();
}

SQLiteTransaction::~SQLiteTransaction()
{
    if (m_database)
        m_database->rollBack();
}

void SQLiteTransaction::commit()
{
    m_database->commit();
    m_database = nullptr;
}

} // namespace kova
