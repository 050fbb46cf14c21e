// Pictures as Qt decodes them: bounded in memory and time, on whatever thread has their bytes.
//
// A picture keeps as many pixels as a screen can show of it. Every view that shows it shares them, from a row's
// thumbnail to the full width of the window.

#pragma once

#include "Platform/UIKit/UIImage.h"

#include <QSizeF>

namespace kova {

/// From now on pictures are decoded for an area of so many pixels, or for the largest one before. Turning the device
/// makes either side its width. Threads: any.
void decodeForArea(QSizeF pixels);

/// See UIImage::Decoder.
[[nodiscard]] UIImage::Decoded decodeImage(const Data& data);

} // namespace kova
