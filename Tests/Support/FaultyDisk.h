// A disk of which a test breaks one part, and mends it: calls fail, or hang until it is mended.
//
// Threads: any.

#pragma once

#include "Tests/Support/SQLiteDisk.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace kova::tests {

class FaultyDisk final : public SQLiteDisk {
public:
    struct Fault {
        /// None stands for every call.
        std::optional<Call> call {};
        /// The end of the path: "-wal" for the log, "" for every file.
        std::string file {};
        /// What the call answers; zero makes it hang.
        int code = 0;
        /// How many such calls still go well, and how many go wrong then.
        std::size_t after = 0;
        std::size_t times = static_cast<std::size_t>(-1);
    };

    ~FaultyDisk() override { mend(); }

    void breakDown(Fault fault)
    {
        const std::lock_guard lock {m_mutex};
        m_fault = std::move(fault);
        m_met = 0;
    }

    /// Also lets go on what hangs.
    void mend()
    {
        const std::lock_guard lock {m_mutex};
        m_fault.reset();
        m_changed.notify_all();
    }

    /// How many calls the present fault applied to, those that went well included.
    [[nodiscard]] std::size_t met() const
    {
        const std::lock_guard lock {m_mutex};
        return m_met;
    }

    /// Waits until a call has gone wrong or hangs; false when none did within ten seconds.
    [[nodiscard]] bool waitUntilHit()
    {
        std::unique_lock lock {m_mutex};
        return m_changed.wait_for(
            lock, std::chrono::seconds {10}, [this] { return m_fault && m_met > m_fault->after; });
    }

private:
    int before(const Access& access) override
    {
        std::unique_lock lock {m_mutex};
        if (!m_fault || (m_fault->call && *m_fault->call != access.call) || !access.file.ends_with(m_fault->file))
            return 0;
        const auto number = m_met++;
        if (number < m_fault->after || number - m_fault->after >= m_fault->times)
            return 0;
        m_changed.notify_all();
        if (m_fault->code != 0)
            return m_fault->code;
        m_changed.wait(lock, [this] { return !m_fault; });
        return 0;
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::optional<Fault> m_fault;
    std::size_t m_met = 0;
};

} // namespace kova::tests
