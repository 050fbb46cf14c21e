#include "Platform/Libraries/StoreIndexMemory.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kova {

void makeIndexFile(const std::string& path)
{
    // Never one that exists: closing it would release the locks that SQLite holds on it. It is made by its owner in a
    // private folder, so another user cannot get in between.
    constexpr mode_t ownersAlone = S_IRUSR | S_IWUSR;
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, ownersAlone);
    if (descriptor < 0)
        return;
    fchmod(descriptor, ownersAlone);
    // The flag is only taken by an empty file, and only where there is copying to be switched off.
    int flags = 0;
    if (ioctl(descriptor, FS_IOC_GETFLAGS, &flags) == 0) {
        flags |= FS_NOCOW_FL;
        ioctl(descriptor, FS_IOC_SETFLAGS, &flags);
    }
    close(descriptor);
}

} // namespace kova
