// SIGINT and SIGTERM as a request to end cleanly.
//
// Made first thing in main, before any other thread: the signals are blocked for the whole process and read here.

#pragma once

#include <stop_token>
#include <thread>

namespace kova::host {

class Interruption {
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    [[nodiscard]] std::stop_token token() const { return m_source.get_token(); }

    /// Becomes readable, for good, once a signal has come: for waiting in poll().
    [[nodiscard]] int descriptor() const { return m_interrupted; }

private:
    void watch();

    std::stop_source m_source;
    int m_signals = -1;
    int m_interrupted = -1;
    int m_ended = -1;
    std::thread m_watcher;
};

} // namespace kova::host
