// The cost of decoding a picture, read from the beginning of its file.
//
// A small file can ask for gigabytes: a progressive JPEG or an interlaced PNG is held whole while it is decoded,
// however small it is to become. The rules were measured with Qt's own decoders. Threads: any.

#pragma once

#include <QByteArray>
#include <QImageReader>
#include <cstdint>
#include <optional>
#include <string>

namespace kova {

struct PictureCost {
    /// The size of the whole picture as it is stored.
    QSize size;
    /// True if the decoder shrinks the picture line by line, so that setScaledSize() saves memory.
    bool isScaledWhileDecoded = false;
    /// The memory that decoding takes beside the result, and how much of it is the whole picture.
    std::uint64_t bytes = 0;
    std::uint64_t pictureBytes = 0;
    /// How many pixels are decoded, one that is unpacked again in another scan counting again.
    std::uint64_t work = 0;

    /// The cost; none when the file does not tell it. To be called before the reader has read.
    [[nodiscard]] static std::optional<PictureCost> of(const QByteArray& file, QImageReader& reader);

    /// Why it is too much, for the log; none when it is not.
    [[nodiscard]] std::optional<std::string> excess() const;
};

} // namespace kova
