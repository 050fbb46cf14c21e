#include "Platform/Libraries/FolderLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

namespace kova {

FolderLock::FolderLock(const std::filesystem::path& file, const Patience& patience)
    : m_descriptor(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600))
{
    // A lock on a file cannot be waited for with a bound, so it is tried again and again.
    constexpr std::chrono::milliseconds pause {5};
    // Whatever the process's mask has taken away.
    if (m_descriptor >= 0)
        fchmod(m_descriptor, S_IRUSR | S_IWUSR);
    const auto began = Patience::Clock::now();
    while (m_descriptor >= 0 && flock(m_descriptor, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || !patience.lastsSince(began))
            return;
        std::this_thread::sleep_for(pause);
    }
}

FolderLock::~FolderLock()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

} // namespace kova
