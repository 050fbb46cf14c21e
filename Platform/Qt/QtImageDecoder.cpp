#include "Platform/Qt/QtImageDecoder_p.h"

#include <QBuffer>
#include <QImage>
#include <QImageIOHandler>
#include <QImageReader>

namespace kova {

namespace {

/// 64 MiB of pixels: more than a screen can show.
constexpr qint64 maximumPixels = 4096LL * 4096;

qint64 pixelCount(QSize size)
{
    return qint64 {size.width()} * size.height();
}

} // namespace

std::shared_ptr<const UIImage> decodeImage(const Data& data)
{
    const auto bytes = QByteArray::fromRawData(
        reinterpret_cast<const char*>(data.bytes().data()), static_cast<qsizetype>(data.bytes().size()));
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader {&buffer};
    reader.setAutoTransform(true);
    auto size = reader.size();
    // A format that does not tell its size beforehand cannot be bounded.
    if (!size.isValid() || size.isEmpty())
        return nullptr;
    if (pixelCount(size) > maximumPixels) {
        // Only JPEG is made smaller while it is decoded; other formats would be decoded whole first.
        if (reader.format() != "jpeg" && reader.format() != "jpg")
            return nullptr;
        auto smaller = size;
        while (pixelCount(smaller) > maximumPixels)
            smaller /= 2;
        reader.setScaledSize(smaller);
    }
    const bool isTurned = reader.transformation().testFlag(QImageIOHandler::TransformationRotate90);
    const auto image = reader.read();
    if (image.isNull())
        return nullptr;
    if (isTurned)
        size.transpose();
    auto pixels = std::make_shared<const QImage>(image.convertToFormat(QImage::Format_ARGB32_Premultiplied));
    return std::make_shared<const UIImage>(
        CGSize {.width = static_cast<double>(size.width()), .height = static_cast<double>(size.height())},
        std::move(pixels));
}

} // namespace kova
