// The application's persistent key-value store.
//
// A platform derives from this class; the Linux one stands on SQLite. A value is a property-list value. Threads: any;
// one call is atomic, also between two processes of one application, and a sequence of calls is not: what is read, then
// changed, then written goes through update(). A change has been acknowledged when update() or setObject() returns: a
// process killed after that keeps it.
//
// While the store cannot be read or written, changes are kept in memory, in order, and made as soon as that works
// again, on what is stored then. Reads show the last value that was known, with these changes made; a value that was
// never known counts as absent. Trouble is said on standard error, and so is a change that is lost because the process
// ended before; the caller is not told.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/Value.h"

#include <functional>
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

    /// The value stored under the key; none when there is none. An array shares structure with the store: reading a
    /// long one is cheap.
    [[nodiscard]] virtual std::optional<Value> object(std::string_view key) = 0;

    /// Stores a value, or removes the key when there is none. Of an array only what differs from the stored one is
    /// written. A value that is not a property-list value (null, or text that is not valid UTF-8, at any depth) leaves
    /// the key as it was, which is said on standard error.
    virtual void setObject(std::string_view key, std::optional<Value> value) = 0;

    /// Gets the present value (none when there is none) and returns the next one (none removes the key).
    using Change = std::function<std::optional<Value>(std::optional<Value> present)>;

    /// Changes the value of a key in one write transaction: nobody else, in this process or another, changes it between
    /// the reading and the writing.
    ///
    /// The function runs on the caller's thread before update() returns, and again, on any thread, when the change has
    /// to be kept or made once more. So it depends on nothing but its argument, has no effect but its result, and owns
    /// what it refers to. It may read other keys, but must change none, which stops the process, nor wait for a thread
    /// that uses the defaults. What it throws leaves update(), and changes nothing. A result that is not a
    /// property-list value is treated as in setObject().
    virtual void update(std::string_view key, Change change) = 0;

    /// Brings every acknowledged write to the disk itself, so that it outlives a power cut.
    virtual void synchronize() = 0;
};

} // namespace kova
