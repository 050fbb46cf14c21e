#include "Platform/Libraries/StoreVFS.h"

#include "Platform/Libraries/StoreIndexMemory.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstddef>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace kova {

namespace {

struct Region {
    void* memory = nullptr;
    std::size_t size = 0;
};

// A file of SQLite's, with the file that does the work right behind it.
struct alignas(alignof(sqlite3_int64)) File : sqlite3_file {
    [[nodiscard]] sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }

    [[nodiscard]] bool reserveIndex() const
    {
        return !indexMayLackRoom.value_or(false) || std::ranges::all_of(regions, [](const Region& region) {
            return !region.memory || reserveRoom(region.memory, region.size);
        });
    }

    std::string name {};
    /// Unknown before the index is mapped.
    std::optional<bool> indexMayLackRoom {};
    std::vector<Region> regions {};
};

File& of(sqlite3_file* file)
{
    return *static_cast<File*>(file);
}

template <auto Method, typename... Arguments> int forward(sqlite3_file* file, Arguments... arguments)
{
    auto* real = of(file).real();
    return (real->pMethods->*Method)(real, arguments...);
}

using Methods = sqlite3_io_methods;

int close(sqlite3_file* file)
{
    const int code = forward<&Methods::xClose>(file);
    of(file).~File();
    return code;
}

// SQLite takes a read error of the system for damage, and only because of the code that says which error it was.
int read(sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset)
{
    const int code = forward<&Methods::xRead>(file, bytes, size, offset);
    return code == SQLITE_IOERR_CORRUPTFS ? SQLITE_IOERR_READ : code;
}

// A checkpoint writes into the index after the file was brought to the disk.
int sync(sqlite3_file* file, int flags)
{
    const int code = forward<&Methods::xSync>(file, flags);
    if (code != SQLITE_OK || of(file).regions.empty() || of(file).reserveIndex())
        return code;
    return SQLITE_IOERR_SHMMAP;
}

int mapIndex(sqlite3_file* file, int number, int size, int extends, void volatile** memory)
{
    auto& self = of(file);
    if (!self.indexMayLackRoom) {
        makeIndexFile(self.name + "-shm");
        self.indexMayLackRoom = mayLackRoom(self.name);
    }
    const int code = forward<&Methods::xShmMap>(file, number, size, extends, memory);
    const auto index = static_cast<std::size_t>(number);
    if (code == SQLITE_OK && *memory) {
        self.regions.resize(std::max(self.regions.size(), index + 1));
        self.regions[index] = {.memory = const_cast<void*>(*memory), .size = static_cast<std::size_t>(size)};
    }
    return code;
}

// SQLite writes into the index only while it holds one of these locks alone.
int lockIndex(sqlite3_file* file, int first, int count, int flags)
{
    const int code = forward<&Methods::xShmLock>(file, first, count, flags);
    if (code != SQLITE_OK || flags != (SQLITE_SHM_LOCK | SQLITE_SHM_EXCLUSIVE) || of(file).reserveIndex())
        return code;
    forward<&Methods::xShmLock>(file, first, count, SQLITE_SHM_UNLOCK | SQLITE_SHM_EXCLUSIVE);
    return SQLITE_IOERR_SHMMAP;
}

int unmapIndex(sqlite3_file* file, int deletes)
{
    of(file).regions.clear();
    return forward<&Methods::xShmUnmap>(file, deletes);
}

void barrier(sqlite3_file* file)
{
    auto* real = of(file).real();
    real->pMethods->xShmBarrier(real);
}

constexpr Methods methods {
    // Without mapped files, whose reads cannot fail but end the process.
    .iVersion = 2,
    .xClose = &close,
    .xRead = &read,
    .xWrite = &forward<&Methods::xWrite, const void*, int, sqlite3_int64>,
    .xTruncate = &forward<&Methods::xTruncate, sqlite3_int64>,
    .xSync = &sync,
    .xFileSize = &forward<&Methods::xFileSize, sqlite3_int64*>,
    .xLock = &forward<&Methods::xLock, int>,
    .xUnlock = &forward<&Methods::xUnlock, int>,
    .xCheckReservedLock = &forward<&Methods::xCheckReservedLock, int*>,
    .xFileControl = &forward<&Methods::xFileControl, int, void*>,
    .xSectorSize = &forward<&Methods::xSectorSize>,
    .xDeviceCharacteristics = &forward<&Methods::xDeviceCharacteristics>,
    .xShmMap = &mapIndex,
    .xShmLock = &lockIndex,
    .xShmBarrier = &barrier,
    .xShmUnmap = &unmapIndex,
    .xFetch = nullptr,
    .xUnfetch = nullptr,
};

int open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags)
{
    auto& self = *new (file) File;
    auto* vfs = sqlite3_vfs_find(nullptr);
    self.pMethods = nullptr;
    self.name = name ? name : "";
    self.real()->pMethods = nullptr;
    const int code = vfs->xOpen(vfs, name, self.real(), flags, outFlags);
    // SQLite closes what has methods, even after a failure.
    if (self.real()->pMethods)
        self.pMethods = &methods;
    else
        self.~File();
    return code;
}

int remove(sqlite3_vfs*, const char* name, int syncsFolder)
{
    auto* vfs = sqlite3_vfs_find(nullptr);
    return vfs->xDelete(vfs, name, syncsFolder);
}

// SQLite waits for locks that fail, however they fail, in growing steps of its own for ten seconds in all.
int sleep(sqlite3_vfs*, int microseconds)
{
    constexpr int longest = 2'000;
    auto* vfs = sqlite3_vfs_find(nullptr);
    return vfs->xSleep(vfs, std::min(microseconds, longest));
}

sqlite3_vfs registered()
{
    constexpr int roomForAnyFile = 512;
    sqlite3_vfs vfs = *sqlite3_vfs_find(nullptr);
    vfs.zName = "kova-store";
    vfs.pNext = nullptr;
    vfs.szOsFile = static_cast<int>(sizeof(File)) + std::max(vfs.szOsFile, roomForAnyFile);
    vfs.xOpen = &open;
    vfs.xDelete = &remove;
    vfs.xSleep = &sleep;
    return vfs;
}

} // namespace

const char* storeVFS()
{
    static auto& vfs = *new sqlite3_vfs {registered()};
    static const int code = sqlite3_vfs_register(&vfs, 0);
    return code == SQLITE_OK ? vfs.zName : nullptr;
}

} // namespace kova
