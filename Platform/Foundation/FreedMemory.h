// Memory that was freed and that the allocator keeps: how it goes back to the system after something large has ended.

#pragma once

#include "Platform/Foundation/Export.h"

namespace kova {

/// Gives back what the allocator keeps; it may take milliseconds. Called on any thread.
using FreedMemoryHook = void (*)();

/// Replaces the hook; null, as it is at first, leaves it to the allocator.
KOVA_EXPORT void setFreedMemoryHook(FreedMemoryHook hook);

void returnFreedMemory();

} // namespace kova
