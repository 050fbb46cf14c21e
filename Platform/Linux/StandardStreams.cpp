#include "Platform/Linux/StandardStreams.h"

#include <fcntl.h>

#include <cerrno>

namespace kova {

void holdStandardStreams()
{
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        // The lowest number that is free is this one, since those below are taken.
        if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
            open("/dev/null", O_RDWR); // NOLINT(android-cloexec-open)
    }
}

} // namespace kova
