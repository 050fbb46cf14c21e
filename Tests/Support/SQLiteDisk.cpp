#include "Tests/Support/SQLiteDisk.h"

#include <sqlite3.h>

#include <atomic>
#include <new>
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

// SQLite allocates these, with room for the real file behind.
struct SQLiteDisk::File {
    sqlite3_file own;
    Vfs* vfs;
    std::string* name;
    bool isDatabase = false;
    bool hasSynced = false;

    static File& of(sqlite3_file* file) { return *reinterpret_cast<File*>(file); }
    [[nodiscard]] sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
    [[nodiscard]] const sqlite3_io_methods& methods() { return *real()->pMethods; }
    [[nodiscard]] int before(Access access)
    {
        access.file = *name;
        return vfs->disk->before(access);
    }

    static const sqlite3_io_methods ownMethods;
};

const sqlite3_io_methods SQLiteDisk::File::ownMethods {
    .iVersion = 2,
    .xClose =
        [](sqlite3_file* file) {
            auto& self = of(file);
            const int code = self.methods().xClose(self.real());
            delete self.name;
            --self.vfs->openFiles;
            return code;
        },
    .xRead =
        [](sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset) {
            auto& self = of(file);
            const int code = self.before(
                {.call = Call::Read, .file = {}, .offset = offset, .size = static_cast<std::size_t>(size)});
            return code != SQLITE_OK ? code : self.methods().xRead(self.real(), bytes, size, offset);
        },
    .xWrite =
        [](sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
            auto& self = of(file);
            const int code = self.before({.call = Call::Write,
                .file = {},
                .offset = offset,
                .bytes = {static_cast<const char*>(bytes), static_cast<std::size_t>(size)}});
            return code != SQLITE_OK ? code : self.methods().xWrite(self.real(), bytes, size, offset);
        },
    .xTruncate =
        [](sqlite3_file* file, sqlite3_int64 size) {
            auto& self = of(file);
            const int code = self.before({.call = Call::Truncate, .file = {}, .offset = size});
            return code != SQLITE_OK ? code : self.methods().xTruncate(self.real(), size);
        },
    .xSync =
        [](sqlite3_file* file, int) {
            auto& self = of(file);
            const bool isFirst = !std::exchange(self.hasSynced, true);
            return self.before({.call = Call::Sync, .file = {}, .bringsFolderToo = isFirst && !self.isDatabase});
        },
    .xFileSize
    = [](sqlite3_file* file, sqlite3_int64* size) { return of(file).methods().xFileSize(of(file).real(), size); },
    .xLock = [](sqlite3_file* file, int lock) { return of(file).methods().xLock(of(file).real(), lock); },
    .xUnlock = [](sqlite3_file* file, int lock) { return of(file).methods().xUnlock(of(file).real(), lock); },
    .xCheckReservedLock
    = [](sqlite3_file* file, int* isHeld) { return of(file).methods().xCheckReservedLock(of(file).real(), isHeld); },
    .xFileControl
    = [](sqlite3_file* file, int operation,
          void* argument) { return of(file).methods().xFileControl(of(file).real(), operation, argument); },
    .xSectorSize = [](sqlite3_file* file) { return of(file).methods().xSectorSize(of(file).real()); },
    .xDeviceCharacteristics
    = [](sqlite3_file* file) { return of(file).methods().xDeviceCharacteristics(of(file).real()); },
    .xShmMap =
        [](sqlite3_file* file, int region, int size, int extends, void volatile** memory) {
            auto& self = of(file);
            const int code = self.before({.call = Call::MapIndex, .file = {}});
            return code != SQLITE_OK ? code : self.methods().xShmMap(self.real(), region, size, extends, memory);
        },
    .xShmLock = [](sqlite3_file* file, int offset, int count,
                    int flags) { return of(file).methods().xShmLock(of(file).real(), offset, count, flags); },
    .xShmBarrier = [](sqlite3_file* file) { of(file).methods().xShmBarrier(of(file).real()); },
    .xShmUnmap = [](sqlite3_file* file, int isToGo) { return of(file).methods().xShmUnmap(of(file).real(), isToGo); },
    .xFetch = nullptr,
    .xUnfetch = nullptr,
};

int SQLiteDisk::Vfs::open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* outFlags)
{
    auto& self = of(vfs);
    const std::string_view path = name ? name : "";
    file->pMethods = nullptr;
    if (const int code = self.disk->before({.call = Call::Open, .file = path}); code != SQLITE_OK)
        return code;
    auto& opened = *new (file) File {.own = {}, .vfs = &self, .name = nullptr};
    if (const int code = self.real->xOpen(self.real, name, opened.real(), flags, outFlags); code != SQLITE_OK)
        return code;
    opened.name = new std::string {path};
    opened.isDatabase = (flags & SQLITE_OPEN_MAIN_DB) != 0;
    opened.own.pMethods = &File::ownMethods;
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
    m_vfs->own.szOsFile = static_cast<int>(sizeof(File)) + real->szOsFile;
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
