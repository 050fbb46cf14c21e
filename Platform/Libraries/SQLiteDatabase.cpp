#include "Platform/Libraries/SQLiteDatabase.h"

#include "Platform/Libraries/StoreVFS.h"

#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

namespace kova {

namespace {

SQLiteFailure failure(int code, sqlite3* database)
{
    std::string message = database ? sqlite3_errmsg(database) : sqlite3_errstr(code);
    // SQLite keeps the system's error of an earlier failure where the present one has none.
    const int primary = code & 0xFF;
    int systemError = 0;
    if (database && (primary == SQLITE_IOERR || primary == SQLITE_CANTOPEN))
        systemError = sqlite3_system_errno(database);
    else if (primary == SQLITE_FULL)
        systemError = ENOSPC;
    if (systemError != 0)
        message += " (" + std::generic_category().message(systemError) + ")";
    return {code, message, systemError};
}

// In a URI, a few characters of a path have a meaning of their own.
std::string uri(const std::filesystem::path& file, std::string_view parameters)
{
    // With an empty authority: a path may begin with two slashes.
    std::string text = "file://";
    for (const char letter : std::filesystem::absolute(file).string()) {
        if (letter == '%')
            text += "%25";
        else if (letter == '?')
            text += "%3f";
        else if (letter == '#')
            text += "%23";
        else
            text += letter;
    }
    return text.append(parameters);
}

} // namespace

SQLiteFailure::SQLiteFailure(int code, const std::string& message, int systemError)
    : std::runtime_error(message)
    , m_code(code)
    , m_systemError(systemError)
{
}

bool SQLiteFailure::isDamage() const
{
    // A statement that is no SQL for this file, SQLITE_ERROR, means that its tables are not ours.
    const int primary = m_code & 0xFF;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB || primary == SQLITE_ERROR;
}

bool SQLiteFailure::isCut() const
{
    return m_code == SQLITE_IOERR_SHORT_READ;
}

bool SQLiteFailure::isIndexLost() const
{
    return m_code == SQLITE_IOERR_SHMSIZE || m_code == SQLITE_IOERR_SHMMAP;
}

bool SQLiteFailure::isDiskFull() const
{
    return (m_code & 0xFF) == SQLITE_FULL || m_code == SQLITE_IOERR_SHMMAP || m_systemError == ENOSPC
        || m_systemError == EDQUOT;
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

SQLiteDatabase::SQLiteDatabase(const std::filesystem::path& file, std::shared_ptr<const BusyTimeout> timeout, Mode mode)
    : SQLiteDatabase(file, mode, Wait {.timeout = std::move(timeout)})
{
}

SQLiteDatabase::SQLiteDatabase(const std::filesystem::path& file, std::chrono::milliseconds busyTimeout, Mode mode)
    : SQLiteDatabase(file, mode, [busyTimeout] {
        auto timeout = std::make_shared<BusyTimeout>(busyTimeout);
        return Wait {.timeout = timeout, .ownTimeout = timeout};
    }())
{
}

SQLiteDatabase::SQLiteDatabase(const std::filesystem::path& file, Mode mode, Wait wait)
    : m_wait(std::make_unique<Wait>(std::move(wait)))
{
    // The connection is used by one thread at a time, so SQLite's own locking would be paid for nothing.
    int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
    std::string name = file.string();
    bool readsLog = false;
    if (mode == Mode::OnlyRead) {
        // A file that nobody can write needs no index of its log but one in memory, which SQLite only makes for a
        // connection that is alone; and without a log it is as good as carved in stone.
        std::error_code missing;
        const auto logSize = std::filesystem::file_size(file.string() + "-wal", missing);
        readsLog = !missing && logSize > 0;
        name = uri(file, readsLog ? "?vfs=unix-none" : "?immutable=1");
        flags |= SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;
    } else if (mode == Mode::Unchanged) {
        // Without index SQLite would make one, unless it is told that nobody else changes the file.
        const bool isInUse = std::filesystem::exists(file.string() + "-shm");
        name = uri(file, isInUse ? "?mode=ro" : "?immutable=1");
        flags |= SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;
    } else {
        flags |= SQLITE_OPEN_READWRITE | (mode == Mode::Create ? SQLITE_OPEN_CREATE : 0);
    }
    sqlite3* database = nullptr;
    const int code = sqlite3_open_v2(name.c_str(), &database, flags, storeVFS());
    m_database.reset(database);
    if (code != SQLITE_OK)
        throw failure(code, database);
    sqlite3_busy_handler(database, &goOnWaiting, m_wait.get());
    // Takes the place of SQLite's own checkpoints, which come at the end of any transaction.
    sqlite3_wal_hook(
        database,
        [](void* pages, sqlite3*, const char*, int count) {
            *static_cast<int*>(pages) = count;
            return SQLITE_OK;
        },
        m_logPages.get());
    // Temporary files would stand outside the store's private folder.
    execute("PRAGMA temp_store = MEMORY");
    if (readsLog)
        execute("PRAGMA locking_mode = EXCLUSIVE");
}

int SQLiteDatabase::goOnWaiting(void* wait, int earlierCalls)
{
    constexpr std::chrono::microseconds shortestPause {100};
    constexpr int doublings = 7;
    auto& self = *static_cast<Wait*>(wait);
    if (earlierCalls == 0 && self.ownTimeout)
        self.ownTimeout->begin();
    self.hasWaited = true;
    if (self.timeout->isOver())
        return 0;
    std::this_thread::sleep_for(shortestPause * (1 << std::min(earlierCalls, doublings)));
    return 1;
}

void SQLiteDatabase::execute(const char* sql)
{
    const int code = sqlite3_exec(m_database.get(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        throw failure(code, m_database.get());
}

void SQLiteDatabase::runCached(std::optional<SQLiteStatement>& statement, std::string_view sql)
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

std::int64_t SQLiteDatabase::lastInsertedRow() const
{
    return sqlite3_last_insert_rowid(m_database.get());
}

void SQLiteDatabase::readEveryByte()
{
    constexpr sqlite3_int64 pieceSize = 65'536;
    sqlite3_file* file = nullptr;
    sqlite3_file_control(m_database.get(), "main", SQLITE_FCNTL_FILE_POINTER, static_cast<void*>(&file));
    if (!file || !file->pMethods)
        throw SQLiteFailure {SQLITE_CANTOPEN, "there is no file"};
    sqlite3_int64 size = 0;
    if (const int code = file->pMethods->xFileSize(file, &size); code != SQLITE_OK)
        throw failure(code, nullptr);
    std::string piece(static_cast<std::size_t>(pieceSize), '\0');
    for (sqlite3_int64 offset = 0; offset < size; offset += pieceSize) {
        const auto length = static_cast<int>(std::min(pieceSize, size - offset));
        if (const int code = file->pMethods->xRead(file, piece.data(), length, offset); code != SQLITE_OK)
            throw failure(code, nullptr);
    }
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

bool SQLiteDatabase::checkpoint()
{
    // As a statement, because the function of the same name does nothing on a connection that has not read yet.
    auto statement = prepare("PRAGMA wal_checkpoint(PASSIVE)");
    const bool isBusy = !statement.step() || statement.integer(0) != 0;
    const auto frames = statement.integer(1);
    if (!isBusy && frames < 0)
        throw SQLiteFailure {SQLITE_IOERR, "there is no write-ahead log"};
    // A reader in another process that still needs what the log would replace, or another checkpoint under way.
    const bool isWhole = !isBusy && statement.integer(2) >= frames;
    if (!isWhole)
        syncLog();
    return isWhole;
}

void SQLiteDatabase::syncLog()
{
    // The log is opened by the first reading.
    execute("PRAGMA schema_version");
    sqlite3_file* log = nullptr;
    sqlite3_file_control(m_database.get(), "main", SQLITE_FCNTL_JOURNAL_POINTER, static_cast<void*>(&log));
    if (!log || !log->pMethods)
        throw SQLiteFailure {SQLITE_IOERR, "there is no write-ahead log"};
    if (const int code = log->pMethods->xSync(log, SQLITE_SYNC_NORMAL); code != SQLITE_OK)
        throw failure(code, nullptr);
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
