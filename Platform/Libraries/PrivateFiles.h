// Folders and files that nobody but their owner may use: made, and refused when they are somebody else's.
//
// The platform supplies the bodies. What fails throws std::filesystem::filesystem_error with the system's error; what
// is refused throws std::runtime_error with the reason. Threads: any.

#pragma once

#include <filesystem>
#include <system_error>

namespace kova {

/// Makes every part of the path that is missing, for the owner alone, and brings their names to the disk.
void makePrivateFolder(const std::filesystem::path& folder);

/// Makes an empty file when it is missing, and takes away what others may do with it.
void makePrivateFile(const std::filesystem::path& file);

/// Refuses a link and a folder of another user, and takes away what others may do with it.
void requireOwnFolder(const std::filesystem::path& folder);

/// Refuses links, other things than files, and files of another user; a missing file is fine.
void requireOwnFile(const std::filesystem::path& file);

/// The system's error when what is there may not be written; else none.
[[nodiscard]] std::error_code writeRefusal(const std::filesystem::path& path);

} // namespace kova
