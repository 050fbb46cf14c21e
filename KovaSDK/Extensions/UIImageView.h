// Pictures from the network, in image views.

#pragma once

#include "Platform/UIKit/NSCache.h"
#include "Platform/UIKit/UIImageView.h"

#include <memory>
#include <string>

namespace kova {

using ImageCache = NSCache<std::string, const UIImage>;

/// The pictures that were downloaded, under the text of their addresses: 64 MiB of them, the least recently used go
/// first. Threads: any.
[[nodiscard]] ImageCache& imageCache();

/// Somebody who shows pictures. Once nobody does, the cache keeps but a few of them for the next time. Threads: any.
class ImageCacheUse {
public:
    ImageCacheUse();
    ~ImageCacheUse();
    ImageCacheUse(const ImageCacheUse&) = delete;
    ImageCacheUse& operator=(const ImageCacheUse&) = delete;
};

/// Fetches the picture at an address over http or https; many are fetched a few at a time. Only a reply with status 200
/// and an image type that can be decoded counts: the picture is cached, and shown in the view if that still exists,
/// whatever it shows by then. Either way the view's busy overlay, which the caller has put on, is taken off. A text
/// that is no URL does nothing, and the overlay stays. Main thread only; the result is shown on the main queue.
void downloaded(const std::shared_ptr<UIImageView>& imageView, const std::string& from);

} // namespace kova
