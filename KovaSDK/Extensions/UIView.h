// The busy overlay: a dimmed cover with a turning wheel that can be put on any view. Main thread only.

#pragma once

#include "Platform/UIKit/UIView.h"

#include <cstdint>

namespace kova {

/// The tag by which the overlay is found inside the view that it covers.
inline constexpr std::int64_t busyOverlayTag = 3432;

/// Covers the view; one that is covered already stays as it is.
void lock(UIView& view);

/// Fades the cover out and removes it; without one nothing happens.
void unlock(UIView& view);

} // namespace kova
