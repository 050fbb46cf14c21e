// Pictures from the network, in image views.

#pragma once

#include "Platform/UIKit/NSCache.h"
#include "Platform/UIKit/UIImageView.h"

#include <memory>
#include <string>

namespace kova {

using ImageCache = NSCache<std::string, const UIImage>;

/// Every picture that was downloaded, under the text of its address, for the life of the process. Threads: any.
[[nodiscard]] ImageCache& imageCache();

/// Fetches the picture at an address over http or https. Only a reply with status 200 and an image type that can be
/// decoded counts: the picture is cached, and shown in the view if that still exists, whatever it shows by then. Either
/// way the view's busy overlay, which the caller has put on, is taken off. A text that is no URL does nothing, and the
/// overlay stays. Main thread only; the result is shown on the main queue.
void downloaded(const std::shared_ptr<UIImageView>& imageView, const std::string& from);

} // namespace kova
