#include "Platform/Libraries/StoreVFS.h"

#include "Platform/Libraries/StoreIndexMemory.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <new>
#include <optional>
#include <string>

namespace kova {

namespace {

// A file of SQLite's, with the file that does the work right behind it.
struct alignas(alignof(sqlite3_int64)) File : sqlite3_file {
    [[nodiscard]] sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }

    std::string name {};
    std::optional<IndexGuard> guard {};
};

// Held while an index is mapped or unmapped together with its guard: SQLite shares the mapping between connections.
std::mutex mappingMutex;

File& of(sqlite3_file* file)
{
    return *static_cast<File*>(file);
}

template <auto Method, typename... Arguments> int forward(sqlite3_file* file, Arguments... arguments)
{
    auto* real = of(file).real();
    return (real->pMethods->*Method)(real, arguments...);
}

// What every operation on the database file returns once the index is lost. The log may still be written: the lock for
// writing is held then, and a commit that gets there whole is found when the index is made anew.
int lossCode(sqlite3_file* file)
{
    const auto& guard = of(file).guard;
    const auto loss = guard ? guard->loss() : IndexGuard::Loss::None;
    if (loss == IndexGuard::Loss::None)
        return SQLITE_OK;
    return loss == IndexGuard::Loss::Cut ? SQLITE_IOERR_SHMSIZE : SQLITE_IOERR_SHMMAP;
}

template <auto Method, typename... Arguments> int forwardUnlessLost(sqlite3_file* file, Arguments... arguments)
{
    const int code = lossCode(file);
    return code == SQLITE_OK ? forward<Method>(file, arguments...) : code;
}

using Methods = sqlite3_io_methods;

int unmapIndex(sqlite3_file* file, int deletes)
{
    const std::lock_guard lock {mappingMutex};
    of(file).guard.reset();
    return forward<&Methods::xShmUnmap>(file, deletes);
}

int close(sqlite3_file* file)
{
    const int code = forward<&Methods::xClose>(file);
    of(file).~File();
    return code;
}

// SQLite takes a read error of the system for damage, and only because of the code that says which error it was.
int read(sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset)
{
    const int code = forwardUnlessLost<&Methods::xRead>(file, bytes, size, offset);
    return code == SQLITE_IOERR_CORRUPTFS ? SQLITE_IOERR_READ : code;
}

int mapIndex(sqlite3_file* file, int number, int size, int extends, void volatile** memory)
{
    const std::lock_guard lock {mappingMutex};
    auto& self = of(file);
    const auto path = self.name + "-shm";
    const auto index = static_cast<std::size_t>(number);
    const auto regionSize = static_cast<std::size_t>(size);
    if (!self.guard)
        makeIndexFile(path);
    // Extended by the holder of the lock for writing only.
    if (extends && index == 0)
        emptyCutIndexFile(path, regionSize);
    // SQLite would fill what is missing with zeros that a valid header vouches for.
    if (self.guard && index > 0 && isIndexFileShorter(path, (extends ? index : index + 1) * regionSize)) {
        self.guard->lose();
        return SQLITE_IOERR_SHMSIZE;
    }
    const int code = forward<&Methods::xShmMap>(file, number, size, extends, memory);
    if (code != SQLITE_OK || !*memory)
        return code;
    auto* region = const_cast<void*>(*memory);
    if (!self.guard)
        self.guard.emplace(path, region, regionSize);
    self.guard->add(index, region);
    return lossCode(file);
}

int lockIndex(sqlite3_file* file, int first, int count, int flags)
{
    // A lock that is held is always given back.
    return (flags & SQLITE_SHM_UNLOCK) != 0 ? forward<&Methods::xShmLock>(file, first, count, flags)
                                            : forwardUnlessLost<&Methods::xShmLock>(file, first, count, flags);
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
    .xWrite = &forwardUnlessLost<&Methods::xWrite, const void*, int, sqlite3_int64>,
    .xTruncate = &forwardUnlessLost<&Methods::xTruncate, sqlite3_int64>,
    .xSync = &forwardUnlessLost<&Methods::xSync, int>,
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
