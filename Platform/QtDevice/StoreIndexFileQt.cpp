#include "Platform/Libraries/StoreIndexMemory.h"

namespace kova {

// Qt cannot ask a file system to write in place. SQLite makes the file, with the permissions of the database.
void makeIndexFile(const std::string& /*path*/)
{
}

} // namespace kova
