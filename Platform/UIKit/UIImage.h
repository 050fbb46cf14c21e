// A picture: its size and what the drawing platform needs to draw it.
//
// Immutable. Threads: any.

#pragma once

#include "Platform/Foundation/Data.h"
#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/CGGeometry.h"

#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <string>

namespace kova {

class KOVA_EXPORT UIImage {
public:
    /// An empty picture: no size, nothing to draw.
    UIImage() = default;
    /// Four bytes for each point.
    UIImage(CGSize size, std::shared_ptr<const void> pixels)
        : UIImage(size, std::move(pixels), static_cast<std::size_t>(size.width * size.height * 4))
    {
    }
    UIImage(CGSize size, std::shared_ptr<const void> pixels, std::size_t byteCount)
        : m_size(size)
        , m_pixels(std::move(pixels))
        , m_byteCount(byteCount)
    {
    }

    /// Null when the bytes are no picture that is known, an error when decoding them would take more than it may: why,
    /// for the log.
    using Decoded = std::expected<std::shared_ptr<const UIImage>, std::string>;

    /// Decodes a picture file with the drawing platform's decoder; null when there is none.
    [[nodiscard]] static Decoded decode(const Data& data);
    /// Like decode(), null for an error.
    [[nodiscard]] static std::shared_ptr<const UIImage> create(const Data& data);

    /// It is called on any thread. It must bound what it allocates, also for a moment, and how long it takes, and may
    /// keep fewer pixels than the picture has: as many as can be shown.
    using Decoder = std::function<Decoded(const Data&)>;
    /// Installs the drawing platform's decoder (none is allowed) and returns the one before. Threads: any.
    static Decoder setDecoder(Decoder decoder);

    /// The picture's own size, whatever is kept of its pixels.
    [[nodiscard]] CGSize size() const { return m_size; }
    /// What the decoder made; null in an empty picture.
    [[nodiscard]] const std::shared_ptr<const void>& pixels() const { return m_pixels; }
    /// The memory that the pixels take.
    [[nodiscard]] std::size_t byteCount() const { return m_byteCount; }

private:
    CGSize m_size {};
    std::shared_ptr<const void> m_pixels;
    std::size_t m_byteCount = 0;
};

} // namespace kova
