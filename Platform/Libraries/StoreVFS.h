// The file access that SQLite is given for the store: the system's own, with what would lose data put right.
#pragma once

namespace kova {

/// The name to open a database with. Registered at the first call; goes on to whatever is SQLite's default when a file
/// is opened. Threads: any.
[[nodiscard]] const char* storeVFS();

} // namespace kova
