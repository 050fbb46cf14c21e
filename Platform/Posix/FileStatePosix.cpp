#include "Platform/Libraries/FileState.h"

#include <sys/stat.h>

#include <cerrno>

namespace kova {

std::optional<FileState> fileState(const std::filesystem::path& file, std::error_code& failure)
{
    struct stat status {};
    if (stat(file.c_str(), &status) != 0) {
        failure.assign(errno, std::generic_category());
        return std::nullopt;
    }
    constexpr std::int64_t nanoseconds = 1'000'000'000;
    return FileState {.device = status.st_dev,
        .number = status.st_ino,
        .stamp = {.modifiedNs = status.st_mtim.tv_sec * nanoseconds + status.st_mtim.tv_nsec,
            .size = static_cast<std::uint64_t>(status.st_size)}};
}

} // namespace kova
