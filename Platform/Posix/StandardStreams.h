// The descriptors 0, 1 and 2, on which the whole process reads and writes.
//
// The reader of the output may be slow, or have stopped for good. A write waits for the reader without end, until a
// limit is set; then waiting threads go on. Threads: any.

#pragma once

#include <chrono>
#include <string_view>
#include <system_error>

namespace kova {

/// Opens those that are closed on nothing, so that no file, socket or event that is opened later takes their place and
/// gets what is printed.
void holdStandardStreams();

/// Writes all of the text, in one piece where the stream takes it so. Never blocks in a write, so that an end of
/// waiting that is set meanwhile holds; std::errc::timed_out when that end came first.
[[nodiscard]] std::error_code writeToStream(int descriptor, std::string_view text);

/// The platform's sink of the log. Drops the line that standard output does not take until the end of waiting, and
/// every line after it, so that none is glued to the half of another.
void writeToStandardOutput(std::string_view line);

/// Sets an end of waiting, for a process that is to end; one that was set before and is earlier stays.
void limitWaitingForStreams(std::chrono::steady_clock::time_point end);

/// Waits without end again.
void unlimitWaitingForStreams();

} // namespace kova
