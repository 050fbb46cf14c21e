#include "Platform/Libraries/FolderLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

namespace kova {

FolderLock::FolderLock(const std::filesystem::path& file, const BusyTimeout& timeout)
    : m_descriptor(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600))
{
    // A lock on a file cannot be waited for with a bound, so it is tried again and again.
    constexpr std::chrono::milliseconds pause {5};
    // Undoes what the process's file mode mask has taken away.
    if (m_descriptor >= 0)
        fchmod(m_descriptor, S_IRUSR | S_IWUSR);
    while (m_descriptor >= 0 && !m_isHeld) {
        m_isHeld = flock(m_descriptor, LOCK_EX | LOCK_NB) == 0;
        if (m_isHeld || (errno != EWOULDBLOCK && errno != EINTR) || timeout.isOver())
            return;
        std::this_thread::sleep_for(pause);
    }
}

FolderLock::~FolderLock()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

std::optional<FileStamp> FolderLock::stamp() const
{
    FileStamp stamp;
    if (!m_isHeld || pread(m_descriptor, &stamp, sizeof stamp, 0) != sizeof stamp || stamp == FileStamp {})
        return std::nullopt;
    return stamp;
}

void FolderLock::setStamp(std::optional<FileStamp> stamp) const
{
    const auto written = stamp.value_or(FileStamp {});
    // A stamp that cannot be written is cleared: an outdated one would be taken for a stranger's change.
    if (m_isHeld && pwrite(m_descriptor, &written, sizeof written, 0) != sizeof written)
        static_cast<void>(ftruncate(m_descriptor, 0));
}

} // namespace kova
