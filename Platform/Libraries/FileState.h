// A file as the system identifies it, for telling that somebody has exchanged or changed it.

#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <system_error>

namespace kova {

struct FileStamp {
    std::int64_t modifiedNs = 0;
    std::uint64_t size = 0;

    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

struct FileState {
    std::uint64_t device = 0;
    std::uint64_t number = 0;
    FileStamp stamp {};

    [[nodiscard]] bool isSameFile(const FileState& other) const
    {
        return device == other.device && number == other.number;
    }
};

/// The file that the path leads to; none, and the system's error, when it cannot be looked at. The platform supplies
/// the body.
[[nodiscard]] std::optional<FileState> fileState(const std::filesystem::path& file, std::error_code& failure);

} // namespace kova
