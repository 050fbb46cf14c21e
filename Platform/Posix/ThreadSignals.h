// Signals on the threads that the SDK starts.

#pragma once

namespace kova {

/// Blocks signals on the calling thread, so that the host's handlers run on the host's threads and a broken pipe does
/// not end the process. Faults stay deliverable.
void blockSignals();

} // namespace kova
