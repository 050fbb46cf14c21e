// The index of SQLite's log: a file that every process maps into its memory and writes there.
//
// An access to mapped memory fails with SIGBUS, which ends the process, when the file has been cut, or, on a file
// system that copies on write, when the disk is full. What can be done against it depends on the system, which
// implements these. Threads: any.

#pragma once

#include <cstddef>
#include <string>

namespace kova {

/// Makes an empty index file, for the owner alone, that is written in place, where the file system can do that. Does
/// nothing when there is one, or where the system needs no such file: SQLite makes the index, too.
void makeIndexFile(const std::string& path);

/// Returns true if there is an index file of less than this size in bytes.
[[nodiscard]] bool isIndexFileShorter(const std::string& path, std::size_t size);

/// Empties an index file that is shorter than its first region: its header would vouch for content that is gone.
void emptyCutIndexFile(const std::string& path, std::size_t regionSize);

/// Survives a failing access to the mapped regions of an index. From that access on, all of its regions are zeros that
/// only this process sees, and the index is lost: whoever uses it must not write to the database file any more, nor
/// believe what is read. A file that was cut is emptied, so that everybody makes the index anew from the log.
class IndexGuard {
public:
    enum class Loss { None, Cut, NoRoom };

    /// Guards of one mapping in this process share what happens to it. Installs a handler of SIGBUS at the first call,
    /// which passes on what does not concern an index.
    IndexGuard(const std::string& path, void* firstRegion, std::size_t regionSize);
    /// Call before the regions are unmapped.
    ~IndexGuard();
    IndexGuard(const IndexGuard&) = delete;
    IndexGuard& operator=(const IndexGuard&) = delete;

    void add(std::size_t number, void* region);

    /// Does what a failing access does, for a cut that shows otherwise.
    void lose();

    [[nodiscard]] Loss loss() const;

private:
    struct Mapping;

    Mapping& m_mapping;
};

} // namespace kova
