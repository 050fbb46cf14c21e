// The log: one line a message on standard output, and how values look in it.
//
// Threads: any. A line is written whole, never interleaved with another thread's.

#pragma once

#include "Platform/Foundation/Export.h"

#include <string>
#include <string_view>

namespace kova {

/// Takes one complete line, newline included. Called with the log locked, so it must not print.
using PrintSink = void (*)(std::string_view line);

/// Replaces where lines go and returns what stood there before; null stands for standard output.
KOVA_EXPORT PrintSink setPrintSink(PrintSink sink);

KOVA_EXPORT void printLine(std::string line);

/// Writes the items separated by one blank, followed by a newline. A text that already ends in a blank and is to be
/// followed directly is passed joined with what follows: print("APP ID: " + id).
template <typename... Items> void print(std::string_view first, const Items&... rest)
{
    std::string line {first};
    ((line += ' ', line += rest), ...);
    printLine(std::move(line));
}

/// Writes the message as one line on standard error, escaped where it would break: for trouble that is no part of the
/// log.
KOVA_EXPORT void complain(std::string_view message);

/// Ends the process: "Fatal error: " and the message as one line on standard error, then abort. For what the host
/// forgot and for vendor objects that must not be absent, never for bytes from outside.
KOVA_EXPORT [[noreturn]] void fatalError(std::string_view message);

} // namespace kova
