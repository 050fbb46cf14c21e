// Pictures as Qt decodes them: bounded, on whatever thread has their bytes.

#pragma once

#include "Platform/UIKit/UIImage.h"

namespace kova {

/// Null when the bytes are no picture, or one of more pixels than are decoded here (a JPEG is decoded smaller then).
[[nodiscard]] std::shared_ptr<const UIImage> decodeImage(const Data& data);

} // namespace kova
