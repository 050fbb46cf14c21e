// Wakes a thread that waits in poll().
//
// Threads: wake() any; the rest the waiting one.

#pragma once

namespace kova {

class WakeEvent {
public:
    WakeEvent();
    ~WakeEvent();
    WakeEvent(const WakeEvent&) = delete;
    WakeEvent& operator=(const WakeEvent&) = delete;

    /// False when the process has no file descriptor left for it.
    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    /// Readable from wake() until acknowledge().
    [[nodiscard]] int descriptor() const { return m_descriptor; }

    void wake() const;
    void acknowledge() const;

private:
    int m_descriptor;
};

} // namespace kova
