// A picture: its size and what the drawing platform needs to draw it.
//
// Immutable. Threads: any; pictures are decoded on the thread that received their bytes.

#pragma once

#include "Platform/Foundation/Data.h"
#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/CGGeometry.h"

#include <functional>
#include <memory>

namespace kova {

class KOVA_EXPORT UIImage {
public:
    /// An empty picture: no size, nothing to draw.
    UIImage() = default;
    UIImage(CGSize size, std::shared_ptr<const void> pixels)
        : m_size(size)
        , m_pixels(std::move(pixels))
    {
    }

    /// Decodes a picture file with the drawing platform's decoder. Null when that cannot, or there is none.
    [[nodiscard]] static std::shared_ptr<const UIImage> create(const Data& data);

    /// Null when the bytes are no picture it knows. It is called on any thread and must bound what it allocates.
    using Decoder = std::function<std::shared_ptr<const UIImage>(const Data&)>;
    /// Installs the drawing platform's decoder (none is allowed) and returns the one before. Threads: any.
    static Decoder setDecoder(Decoder decoder);

    [[nodiscard]] CGSize size() const { return m_size; }
    /// What the decoder made; null in an empty picture.
    [[nodiscard]] const std::shared_ptr<const void>& pixels() const { return m_pixels; }

private:
    CGSize m_size {};
    std::shared_ptr<const void> m_pixels;
};

} // namespace kova
