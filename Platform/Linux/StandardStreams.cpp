#include "Platform/Linux/StandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <initializer_list>

namespace kova {

void holdStandardStreams()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        // The lowest number that is free is this one, since those below are taken.
        if (fcntl(descriptor, F_GETFD) < 0 && errno == EBADF)
            open("/dev/null", O_RDWR); // NOLINT(android-cloexec-open)
    }
}

} // namespace kova
