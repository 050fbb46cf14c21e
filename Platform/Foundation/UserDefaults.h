// The application's persistent key-value store.
//
// A platform derives from this class; the Linux one stands on SQLite. A value is a property-list value. Threads: any;
// one read or one write is atomic, also between two processes of one application, and a sequence of them is not. A
// write has been acknowledged when setObject returns: a process killed after that keeps it.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/Value.h"

#include <memory>
#include <optional>
#include <string_view>

namespace kova {

class KOVA_EXPORT UserDefaults {
public:
    virtual ~UserDefaults() = default;

    /// The process-wide store. Without a platform the process stops, saying so.
    [[nodiscard]] static std::shared_ptr<UserDefaults> standard();

    /// Replaces the process-wide store (none is allowed) and returns the one before.
    static std::shared_ptr<UserDefaults> setStandard(std::shared_ptr<UserDefaults> defaults);

    /// The value stored under the key; none when there is none or it cannot be read. An array shares structure with the
    /// store: reading a long one is cheap.
    [[nodiscard]] virtual std::optional<Value> object(std::string_view key) = 0;

    /// Stores a value, or removes the key when there is none. Of an array only what differs from the stored one is
    /// written. A value that is not a property-list value (null, or text that is not valid UTF-8, at any depth) leaves
    /// the key as it was. What cannot be written is said on standard error; the caller is not told. It reads back in
    /// this process and is written as soon as that works again.
    virtual void setObject(std::string_view key, std::optional<Value> value) = 0;

    /// Brings every acknowledged write to the disk itself, so that it outlives a power cut.
    virtual void synchronize() = 0;
};

} // namespace kova
