// Tells every waiting thread that the program is to end.
//
// A file descriptor, so that a thread can wait for it and for its socket in one call. Once triggered it stays so.
// Threads: any.

#pragma once

#include <chrono>

namespace kova::collector {

class StopEvent {
public:
    StopEvent();
    ~StopEvent();
    StopEvent(const StopEvent&) = delete;
    StopEvent& operator=(const StopEvent&) = delete;

    void trigger() const;

    /// Waits until triggered or until the time is over; tells whether it is triggered.
    [[nodiscard]] bool waitFor(std::chrono::milliseconds duration) const;

    /// Readable once triggered; never read from.
    [[nodiscard]] int descriptor() const { return m_descriptor; }

private:
    int m_descriptor;
};

} // namespace kova::collector
