// Held while a store is opened or set aside, so that two processes do not do it at once.
//
// It is advisory and never in the way: where it cannot be had in time (a holder that hangs, a disk that is full or
// read-only), the opening goes on without it, and the database's own locks decide.

#pragma once

#include "Platform/Libraries/Patience.h"

#include <filesystem>

namespace kova {

class FolderLock {
public:
    FolderLock(const std::filesystem::path& file, const Patience& patience);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

private:
    int m_descriptor;
};

} // namespace kova
