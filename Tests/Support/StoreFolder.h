// A folder with a store in it, and the lists that tests of the store write.

#pragma once

#include "Platform/Libraries/SQLiteDatabase.h"
#include "Platform/Libraries/UserDefaultsSQLite.h"
#include "Tests/Support/TemporaryFolder.h"
#include "Tests/Support/Waiting.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

namespace kova::tests {

/// An event's body, so to say.
[[nodiscard]] inline Value body(int number)
{
    return Data {"body " + std::to_string(number)};
}

[[nodiscard]] inline Value::Array bodies(int first, int last)
{
    Value::Array list;
    for (int number = first; number <= last; ++number)
        list.append(body(number));
    return list;
}

inline Value appended(const std::optional<Value>& present, int number)
{
    auto list = present ? *present->as<Value::Array>() : Value::Array {};
    list.append(body(number));
    return Value {list};
}

/// Appends a body to a list, as the event buffer does.
inline void append(UserDefaults& defaults, std::string_view key, int number)
{
    defaults.update(key, [number](const std::optional<Value>& present) { return appended(present, number); });
}

class StoreFolder {
public:
    [[nodiscard]] const std::filesystem::path& path() const { return m_temporary.path(); }
    [[nodiscard]] std::filesystem::path file() const { return path() / "defaults.sqlite"; }

    /// With short times, so that a test need not wait.
    [[nodiscard]] std::unique_ptr<UserDefaultsSQLite> open(
        std::chrono::milliseconds checkpointDelay = std::chrono::milliseconds {20}) const
    {
        using std::chrono::milliseconds;
        return std::make_unique<UserDefaultsSQLite>(UserDefaultsSQLite::Options {
            .folder = path(), .busyTimeout = milliseconds {200}, .checkpointDelay = checkpointDelay});
    }

    /// What a process that starts now would read.
    [[nodiscard]] std::optional<Value> stored(std::string_view key) const { return open()->object(key); }

    /// "ok", or what is wrong with the file.
    [[nodiscard]] std::string integrity() const
    {
        SQLiteDatabase database {file(), std::chrono::seconds {5}};
        auto statement = database.prepare("PRAGMA integrity_check");
        return statement.step() ? std::string {statement.bytes(0)} : "nothing";
    }

private:
    TemporaryFolder m_temporary;
};

/// Collects what is said on standard error while it lives.
class SaidLines {
public:
    SaidLines() { testing::internal::CaptureStderr(); }
    ~SaidLines()
    {
        if (!m_isTaken)
            testing::internal::GetCapturedStderr();
    }
    SaidLines(const SaidLines&) = delete;
    SaidLines& operator=(const SaidLines&) = delete;

    /// All of it, once.
    [[nodiscard]] std::string take()
    {
        m_isTaken = true;
        return testing::internal::GetCapturedStderr();
    }

private:
    bool m_isTaken = false;
};

/// Of those that have `part` in them.
[[nodiscard]] inline std::ptrdiff_t lineCount(const std::string& text, std::string_view part = "")
{
    std::istringstream lines {text};
    std::ptrdiff_t count = 0;
    for (std::string line; std::getline(lines, line);)
        count += line.contains(part) ? 1 : 0;
    return count;
}

} // namespace kova::tests
