// Lines of a file descriptor, one after another, with an end to waiting when the host is interrupted.

#pragma once

#include <optional>
#include <string>

namespace kova::host {

class LineReader {
public:
    /// Reads from `descriptor` until it ends or `interruption` becomes readable. Neither is owned.
    LineReader(int descriptor, int interruption);

    /// The next line without its line break, of any length, and without a byte order mark at the beginning; none at the
    /// end or when interrupted. Throws std::system_error when reading fails.
    [[nodiscard]] std::optional<std::string> next();

private:
    [[nodiscard]] bool readMore();

    int m_descriptor;
    int m_interruption;
    std::string m_pending;
    std::size_t m_searched = 0;
    bool m_isAtBeginning = true;
    bool m_isAtEnd = false;
};

} // namespace kova::host
