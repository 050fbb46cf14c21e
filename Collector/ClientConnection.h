// One accepted connection: reads that end when the program does, replies held back until they may leave.
//
// The web server library waits in calls of its own that nothing can interrupt, so the socket's reads and writes are
// done here: each waits for the socket and for the stop event together. What is written is kept until send(), which
// lets the caller log a request before its reply leaves, or never send the reply at all. Threads: the one that serves
// it.

#pragma once

#include "Collector/StopEvent.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kova::collector {

class ClientConnection {
public:
    /// For a client that says nothing between requests, or stalls inside one.
    static constexpr std::chrono::seconds idleTimeout {60};

    /// Takes the socket over. The event must outlive the connection.
    ClientConnection(int socket, const StopEvent& stop);
    /// Closes in good order, unless abandon() or reset() came first.
    ~ClientConnection();
    ClientConnection(const ClientConnection&) = delete;
    ClientConnection& operator=(const ClientConnection&) = delete;

    /// Waits for the first byte of a request; false when none comes any more.
    [[nodiscard]] bool waitForRequest();

    /// Copies what has arrived, at least a byte; sends first what was written, as the client may be waiting for leave
    /// to go on. 0 at the end of the stream, negative when broken, idle for too long, stopped or when a head is too
    /// long.
    [[nodiscard]] std::ptrdiff_t read(char* bytes, std::size_t capacity);
    void write(std::string_view bytes);
    /// Sends what was written.
    [[nodiscard]] bool send();

    /// What was read since waitForRequest(), up to endHead().
    [[nodiscard]] const std::string& head() const { return m_head; }
    void endHead() { m_isInHead = false; }
    /// Reads to the end of the head when that has not been done; false when there was nothing to do or no end came.
    bool readRestOfHead();
    /// Whether a read found less than was asked of it: what is being read is not whole.
    [[nodiscard]] bool isCutShort() const { return m_isCutShort; }

    /// Closes without sending what was written.
    void abandon();
    /// Closes so that the client sees a reset.
    void reset();

    [[nodiscard]] int socket() const { return m_socket; }

private:
    [[nodiscard]] bool waitFor(short events, std::chrono::milliseconds timeout) const;
    [[nodiscard]] std::ptrdiff_t fill(std::chrono::milliseconds timeout);
    void close();

    int m_socket;
    const StopEvent& m_stop;
    std::vector<char> m_received;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::size_t m_requestSize = 0;
    std::string m_head;
    std::string m_reply;
    bool m_isInHead = false;
    bool m_isCutShort = false;
};

} // namespace kova::collector
