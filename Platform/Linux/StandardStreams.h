// The descriptors 0, 1 and 2, on which the whole process reads and writes.

#pragma once

namespace kova {

/// Opens those that are closed on nothing, so that no file, socket or event that is opened later takes their place and
/// gets what is printed.
void holdStandardStreams();

} // namespace kova
