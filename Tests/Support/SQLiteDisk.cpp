#include "Tests/Support/SQLiteDisk.h"

#include <sqlite3.h>

#include <atomic>
#include <string>
#include <utility>

namespace kova::tests {

struct SQLiteDisk::Vfs {
    sqlite3_vfs own {};
    sqlite3_vfs* real = nullptr;
    SQLiteDisk* disk = nullptr;
    std::atomic<std::size_t> openFiles = 0;

    static Vfs& of(sqlite3_vfs* vfs) { return *static_cast<Vfs*>(vfs->pAppData); }
    static int open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* outFlags);
    static int remove(sqlite3_vfs* vfs, const char* name, int);
};

// The methods of a real file, some of them replaced.
struct SQLiteDisk::File : sqlite3_io_methods {
    File(Vfs& owner, std::string_view path, const sqlite3_io_methods& realMethods, bool isMainDatabase);

    static File& of(sqlite3_file* file) { return *static_cast<File*>(const_cast<sqlite3_io_methods*>(file->pMethods)); }
    [[nodiscard]] int before(Access access)
    {
        access.file = name;
        return vfs.disk->before(access);
    }

    Vfs& vfs;
    const std::string name;
    const sqlite3_io_methods& real;
    const bool isDatabase;
    bool hasSynced = false;
};

SQLiteDisk::File::File(Vfs& owner, std::string_view path, const sqlite3_io_methods& realMethods, bool isMainDatabase)
    : sqlite3_io_methods(realMethods)
    , vfs(owner)
    , name(path)
    , real(realMethods)
    , isDatabase(isMainDatabase)
{
    // Without mapped files, which are read past everybody.
    iVersion = 2;
    xClose = [](sqlite3_file* file) {
        auto& self = of(file);
        const int code = self.real.xClose(file);
        --self.vfs.openFiles;
        delete &self;
        return code;
    };
    xRead = [](sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset) {
        const int code = of(file).before(
            {.call = Call::Read, .file = {}, .offset = offset, .size = static_cast<std::size_t>(size)});
        return code != SQLITE_OK ? code : of(file).real.xRead(file, bytes, size, offset);
    };
    xWrite = [](sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
        const std::string_view written {static_cast<const char*>(bytes), static_cast<std::size_t>(size)};
        const int code = of(file).before({.call = Call::Write, .file = {}, .offset = offset, .bytes = written});
        return code != SQLITE_OK ? code : of(file).real.xWrite(file, bytes, size, offset);
    };
    xTruncate = [](sqlite3_file* file, sqlite3_int64 size) {
        const int code = of(file).before({.call = Call::Truncate, .file = {}, .offset = size});
        return code != SQLITE_OK ? code : of(file).real.xTruncate(file, size);
    };
    xSync = [](sqlite3_file* file, int) {
        auto& self = of(file);
        const bool isFirst = !std::exchange(self.hasSynced, true);
        return self.before({.call = Call::Sync, .file = {}, .bringsFolderToo = isFirst && !self.isDatabase});
    };
    xShmMap = [](sqlite3_file* file, int region, int size, int extends, void volatile** memory) {
        const int code = of(file).before({.call = Call::MapIndex, .file = {}});
        return code != SQLITE_OK ? code : of(file).real.xShmMap(file, region, size, extends, memory);
    };
}

int SQLiteDisk::Vfs::open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* outFlags)
{
    auto& self = of(vfs);
    const std::string_view path = name ? name : "";
    file->pMethods = nullptr;
    const int answer = self.disk->before({.call = Call::Open, .file = path});
    if (answer == SQLITE_READONLY)
        flags = (flags & ~(SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)) | SQLITE_OPEN_READONLY;
    else if (answer != SQLITE_OK)
        return answer;
    if (const int code = self.real->xOpen(self.real, name, file, flags, outFlags); code != SQLITE_OK)
        return code;
    file->pMethods = new File {self, path, *file->pMethods, (flags & SQLITE_OPEN_MAIN_DB) != 0};
    ++self.openFiles;
    return SQLITE_OK;
}

int SQLiteDisk::Vfs::remove(sqlite3_vfs* vfs, const char* name, int /*syncsFolder*/)
{
    auto& self = of(vfs);
    const int code = self.disk->before({.call = Call::Delete, .file = name});
    return code != SQLITE_OK ? code : self.real->xDelete(self.real, name, 0);
}

SQLiteDisk::SQLiteDisk()
    : m_vfs(std::make_unique<Vfs>())
{
    auto* real = sqlite3_vfs_find(nullptr);
    m_vfs->disk = this;
    m_vfs->real = real;
    // What is not replaced asks the object it is called with for nothing but its size.
    m_vfs->own = *real;
    m_vfs->own.iVersion = 2;
    m_vfs->own.zName = "kova-test-disk";
    m_vfs->own.pNext = nullptr;
    m_vfs->own.pAppData = m_vfs.get();
    m_vfs->own.xOpen = &Vfs::open;
    m_vfs->own.xDelete = &Vfs::remove;
    sqlite3_vfs_register(&m_vfs->own, 1);
}

SQLiteDisk::~SQLiteDisk()
{
    sqlite3_vfs_unregister(&m_vfs->own);
    sqlite3_vfs_register(m_vfs->real, 1);
}

std::size_t SQLiteDisk::openFiles() const
{
    return m_vfs->openFiles;
}

} // namespace kova::tests
