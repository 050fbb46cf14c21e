// The index of SQLite's log: a file that every process maps into its memory and writes there.
//
// On a file system that copies on write, a write into mapped memory needs room on the disk, and ends the process with
// SIGBUS when there is none. What can be done against it depends on the system, which implements these. Threads: any.

#pragma once

#include <cstddef>
#include <string>

namespace kova {

/// Makes an empty index file, for the owner alone, that is written in place, where the file system can do that. Does
/// nothing when there is one.
void makeIndexFile(const std::string& path);

/// Returns true if a write into the mapped file may find no room.
[[nodiscard]] bool mayLackRoom(const std::string& path);

/// Reserves room for writing into mapped memory until its pages go to the disk. False when there is none.
[[nodiscard]] bool reserveRoom(void* memory, std::size_t size);

} // namespace kova
