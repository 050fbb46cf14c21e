// Shuts the process off from every network but its own loopback, because a fuzzed redirect may name any address.

#pragma once

namespace kova::fuzz {

/// Moves the process to a network of its own in which there is only 127.0.0.1. To be called before any thread is
/// started. False where the system does not permit that, and then nothing has changed.
[[nodiscard]] bool enterLoopbackOnly();

} // namespace kova::fuzz
