// Held while a store is opened, checkpointed or set aside, so that two processes do not do it at once.
//
// The lock file also tells what the database looked like after the latest checkpoint. A database that looks otherwise
// was changed by somebody who is no part of the SDK. The lock is advisory and never in the way: where it cannot be had
// in time (a holder that hangs, a disk that is full or read-only), the work goes on without it, and the database's own
// locks decide.

#pragma once

#include "Platform/Libraries/BusyTimeout.h"
#include "Platform/Libraries/FileState.h"

#include <filesystem>
#include <optional>

namespace kova {

class FolderLock {
public:
    FolderLock(const std::filesystem::path& file, const BusyTimeout& timeout);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    [[nodiscard]] bool isHeld() const { return m_isHeld; }

    /// The database after the latest checkpoint; none when there was none, or a process ended in the middle of one.
    [[nodiscard]] std::optional<FileStamp> stamp() const;
    /// Writes it when the lock is held. None says that a checkpoint is under way.
    void setStamp(std::optional<FileStamp> stamp) const;

private:
    int m_descriptor;
    bool m_isHeld = false;
};

} // namespace kova
