#include "Host/Doctor/StoreLocks.h"

#include "Host/Doctor/ShellWord.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace kova::host {

namespace {

class OpenFile {
public:
    explicit OpenFile(const std::filesystem::path& file)
        : m_descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC))
    {
    }
    ~OpenFile()
    {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    [[nodiscard]] int descriptor() const { return m_descriptor; }

private:
    int m_descriptor;
};

// Who holds the database's lock for writers: one byte of the index beside the write-ahead log, whose place SQLite's
// description of the format fixes.
std::optional<pid_t> writer(int index)
{
    constexpr off_t writerByte = 120;
    struct flock lock {};
    lock.l_type = F_RDLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = writerByte;
    lock.l_len = 1;
    if (fcntl(index, F_GETLK, &lock) != 0 || lock.l_type == F_UNLCK)
        return std::nullopt;
    return lock.l_pid;
}

// Whether it stays so for a second.
bool staysSo(const std::function<bool()>& isSo)
{
    constexpr int pauseMs = 20;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds {1};
    while (isSo()) {
        if (std::chrono::steady_clock::now() >= end)
            return true;
        poll(nullptr, 0, pauseMs);
    }
    return false;
}

} // namespace

void checkLocks(const std::filesystem::path& folder, Report& report)
{
    const OpenFile opening {folder / "defaults.lock"};
    const bool isBeingOpened
        = opening.descriptor() >= 0 && staysSo([&] { return flock(opening.descriptor(), LOCK_SH | LOCK_NB) != 0; });
    if (isBeingOpened) {
        report.wrong("another process has been opening the store for over a second",
            "End the one that `fuser " + shellWord((folder / "defaults.lock").string()) + "` names.");
    }
    const OpenFile index {folder / "defaults.sqlite-shm"};
    std::optional<pid_t> holder;
    const bool isHeld = index.descriptor() >= 0 && staysSo([&] {
        holder = writer(index.descriptor());
        return holder.has_value();
    });
    if (isHeld) {
        report.wrong("the process " + std::to_string(holder.value_or(0))
                + " holds the database for writing; the application waits five seconds for it, and then keeps pushes "
                  "and events in memory only",
            "Find out why it does not let go, or end it.");
    }
    if (!isBeingOpened && !isHeld)
        report.fine("nobody holds the store");
}

} // namespace kova::host
