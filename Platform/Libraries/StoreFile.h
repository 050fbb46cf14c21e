// The database file behind user defaults, as a thing in a folder: made, opened, watched, set aside.
//
// Somebody may delete, replace or cut the file, or what SQLite keeps beside it, while it is in use; a connection does
// not notice, and writes on into what nobody will read again. So what was opened is remembered and compared.
// Threads: one at a time.

#pragma once

#include "Platform/Libraries/Patience.h"
#include "Platform/Libraries/StoredValues.h"

#include <array>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace kova {

class StoreFile {
public:
    /// The folder is made with its parents, for the owner alone, when the file is opened and it is missing.
    StoreFile(std::filesystem::path folder, std::shared_ptr<const Patience> patience);

    [[nodiscard]] const std::filesystem::path& path() const { return m_path; }

    /// Opens the file, made when it is missing. One that turns out to be damaged is set aside and a fresh one begun.
    [[nodiscard]] std::unique_ptr<StoredValues> open();
    /// Sets the file aside, unless another process has done so already, and begins a fresh one.
    [[nodiscard]] std::unique_ptr<StoredValues> beginAfresh();
    /// For when nobody can write: what is stored, nothing when there is no file.
    [[nodiscard]] std::unique_ptr<StoredValues> openToReadOnly() const;
    /// Whether an open() that failed so did for want of room, so that there may be something to read.
    [[nodiscard]] static bool isForWantOfRoom(const std::exception& failure);
    /// Whether the file or its folder can only be read, in the system's words; empty when that is not so.
    [[nodiscard]] std::string whyReadOnly() const;

    enum class Change {
        None,
        /// The file is gone, or another stands in its place.
        Replaced,
        /// The log or its index is gone, or another stands in its place.
        LogLost,
        /// The file is shorter than it was, which it never gets by itself.
        Cut,
    };

    /// What somebody else has done since the file was opened.
    [[nodiscard]] Change changeSinceOpening();
    /// To be called after a checkpoint, the one thing that makes the file longer.
    void noteLength();
    /// Removes the log of a file that was replaced: read with the new one, it would damage it. To be called when the
    /// old file is let go of.
    void removeOldLog() const;

    /// One line on standard error, unless it is the same as the one before.
    void say(const std::string& message);

private:
    struct Identity {
        std::uint64_t device = 0;
        std::uint64_t number = 0;

        friend bool operator==(const Identity&, const Identity&) = default;
    };

    [[nodiscard]] static std::optional<Identity> identityOf(const std::filesystem::path& file);

    std::unique_ptr<StoredValues> openHere();
    void setAside();

    const std::filesystem::path m_folder;
    const std::filesystem::path m_path;
    const std::shared_ptr<const Patience> m_patience;
    /// Of the file, its log and its index, as they were opened.
    std::array<std::optional<Identity>, 3> m_opened;
    std::uintmax_t m_longest = 0;
    std::string m_lastSaid;
};

} // namespace kova
