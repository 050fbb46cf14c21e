#include "Platform/Libraries/StoreIndexMemory.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdint>
#include <functional>
#include <mutex>

namespace kova {

// Read by the signal handler, so mappings are used again and never freed.
struct IndexGuard::Mapping {
    /// A log of a gigabyte. Regions beyond are not guarded.
    static constexpr std::size_t mostRegions = 256;

    [[nodiscard]] bool contains(const void* address) const
    {
        return std::ranges::any_of(regions, [&](const std::atomic<char*>& region) {
            const auto* begin = region.load();
            return begin && !std::less {}(address, begin) && std::less {}(address, begin + regionSize);
        });
    }
    [[nodiscard]] static Mapping& withFirstRegion(const void* address);
    static void installHandler();
    static void handleFault(int signal, siginfo_t* info, void* context);
    [[nodiscard]] bool lose();

    int users = 0;
    std::array<char, PATH_MAX> path {};
    dev_t device = 0;
    ino_t number = 0;
    std::atomic<std::size_t> regionSize = 0;
    std::array<std::atomic<char*>, mostRegions> regions {};
    std::atomic<Loss> loss = Loss::None;
    std::atomic<bool> isDecided = false;
    std::size_t pageSize = 0;
    Mapping* next = nullptr;

    // Serialises the threads that make and end mappings. The signal handler takes no lock.
    static inline std::mutex mutex;
    static inline std::atomic<Mapping*> newest = nullptr;
    static inline struct sigaction previousAction {};
};

IndexGuard::Mapping& IndexGuard::Mapping::withFirstRegion(const void* address)
{
    Mapping* unused = nullptr;
    for (auto* mapping = newest.load(); mapping; mapping = mapping->next) {
        if (mapping->users > 0 && mapping->regions[0] == address)
            return *mapping;
        if (mapping->users == 0)
            unused = mapping;
    }
    if (!unused) {
        unused = new Mapping;
        unused->next = newest;
        newest = unused;
    }
    return *unused;
}

// Decides once what has happened, and replaces the memory. A thread that comes second accesses the memory again, and
// fails again, until it is replaced. Every function that is called here may be called in a signal handler.
bool IndexGuard::Mapping::lose()
{
    if (isDecided.exchange(true))
        return true;
    const int savedError = errno;
    std::uint64_t size = 0;
    for (std::size_t index = 0; index < mostRegions; ++index) {
        if (regions[index])
            size = (index + 1) * regionSize;
    }
    struct stat status {};
    const bool isThere = stat(path.data(), &status) == 0 && status.st_dev == device && status.st_ino == number;
    const bool isCut = !isThere || static_cast<std::uint64_t>(status.st_size) < size;
    if (isThere && isCut)
        (void)!truncate(path.data(), 0);
    loss = isCut ? Loss::Cut : Loss::NoRoom;
    bool isReplaced = true;
    for (const auto& region : regions) {
        auto* begin = region.load();
        if (!begin)
            continue;
        // Where pages are large, several regions share one. The end need not be that of a page.
        const auto distance = reinterpret_cast<std::uintptr_t>(begin) % pageSize;
        isReplaced &= mmap(begin - distance, distance + regionSize, PROT_READ | PROT_WRITE,
                          MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0)
            != MAP_FAILED;
    }
    errno = savedError;
    return isReplaced;
}

void IndexGuard::Mapping::handleFault(int signal, siginfo_t* info, void* context)
{
    // A positive code is a failed access; others were sent by somebody.
    for (auto* mapping = info->si_code > 0 ? newest.load() : nullptr; mapping; mapping = mapping->next) {
        if (mapping->contains(info->si_addr) && mapping->lose())
            return;
    }
    if ((previousAction.sa_flags & SA_SIGINFO) != 0) {
        previousAction.sa_sigaction(signal, info, context);
    } else if (previousAction.sa_handler != SIG_DFL && previousAction.sa_handler != SIG_IGN) {
        previousAction.sa_handler(signal);
    } else if (previousAction.sa_handler == SIG_DFL || info->si_code > 0) {
        // Takes effect when this function returns: the signal is blocked until then.
        std::signal(signal, SIG_DFL);
        raise(signal);
    }
}

void IndexGuard::Mapping::installHandler()
{
    struct sigaction action {};
    action.sa_sigaction = &handleFault;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigaction(SIGBUS, nullptr, &previousAction);
    sigaction(SIGBUS, &action, nullptr);
}

IndexGuard::IndexGuard(const std::string& path, void* firstRegion, std::size_t regionSize)
    : m_mapping([&]() -> Mapping& {
        const std::lock_guard lock {Mapping::mutex};
        static const int installed = (Mapping::installHandler(), 0);
        (void)installed;
        auto& mapping = Mapping::withFirstRegion(firstRegion);
        if (mapping.users++ == 0) {
            struct stat status {};
            stat(path.c_str(), &status);
            mapping.device = status.st_dev;
            mapping.number = status.st_ino;
            mapping.path.fill('\0');
            path.copy(mapping.path.data(), mapping.path.size() - 1);
            mapping.regionSize = regionSize;
            mapping.loss = Loss::None;
            mapping.isDecided = false;
            mapping.pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
            mapping.regions[0] = static_cast<char*>(firstRegion);
        }
        return mapping;
    }())
{
}

IndexGuard::~IndexGuard()
{
    const std::lock_guard lock {Mapping::mutex};
    if (--m_mapping.users == 0)
        std::ranges::fill(m_mapping.regions, nullptr);
}

void IndexGuard::add(std::size_t number, void* region)
{
    if (number < Mapping::mostRegions)
        m_mapping.regions[number] = static_cast<char*>(region);
}

void IndexGuard::lose()
{
    (void)m_mapping.lose();
}

IndexGuard::Loss IndexGuard::loss() const
{
    return m_mapping.loss.load(std::memory_order_relaxed);
}

bool isIndexFileShorter(const std::string& path, std::size_t size)
{
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && static_cast<std::uint64_t>(status.st_size) < size;
}

void emptyCutIndexFile(const std::string& path, std::size_t regionSize)
{
    // SQLite cuts the index of a log that nobody uses to three bytes.
    constexpr off_t unused = 3;
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && status.st_size > unused
        && static_cast<std::uint64_t>(status.st_size) < regionSize)
        (void)!truncate(path.c_str(), 0);
}

} // namespace kova
