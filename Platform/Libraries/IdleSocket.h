// A connected socket that nobody is reading from. The platform supplies the bodies. Threads: any.

#pragma once

namespace kova {

/// Returns true if there is something to read, or the connection was closed or reset, which is something to read, too.
[[nodiscard]] bool isReadable(int socket);

/// Ends the reading direction and drops what has come. The other direction stays open: saying goodbye must not raise a
/// signal.
void endReading(int socket);

void closeSocket(int socket);

} // namespace kova
