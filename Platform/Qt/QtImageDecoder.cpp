#include "Platform/Qt/PictureCost_p.h"
#include "Platform/Qt/QtImageDecoder_p.h"

#include <QBuffer>
#include <QImage>
#include <QImageIOHandler>
#include <QImageReader>
#include <QPainter>
#include <algorithm>
#include <atomic>
#include <cmath>

namespace kova {

namespace {

/// 16 MiB, so that a few of the largest find room in the cache: a square of 2048 pixels, a window's 2730 x 1536.
constexpr double mostPixels = 4.0 * 1024 * 1024;

constinit std::atomic<int> longestSide = 0;

/// As large as it can be shown, and never larger than it is.
QSize keptSize(QSize size)
{
    const auto side = static_cast<double>(std::max(longestSide.load(), 1));
    const auto width = static_cast<double>(size.width());
    const auto height = static_cast<double>(size.height());
    const auto factor = std::min({1.0, side / std::max(width, height), std::sqrt(mostPixels / (width * height))});
    return QSize {static_cast<int>(width * factor), static_cast<int>(height * factor)}.expandedTo({1, 1});
}

/// In strips, because scaling converts what it scales to four bytes a pixel.
QImage scaledDown(const QImage& image, QSize size)
{
    constexpr int stripHeight = 64;
    QImage scaled {size, QImage::Format_ARGB32_Premultiplied};
    QPainter painter {&scaled};
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    for (int top = 0; top < size.height(); top += stripHeight) {
        const int height = std::min(stripHeight, size.height() - top);
        const auto sourceLine
            = [&](int line) { return static_cast<int>(qint64 {line} * image.height() / size.height()); };
        const auto strip = image.copy(0, sourceLine(top), image.width(), sourceLine(top + height) - sourceLine(top));
        painter.drawImage(0, top,
            strip.convertToFormat(scaled.format())
                .scaled(size.width(), height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
    }
    return scaled;
}

} // namespace

void decodeForArea(QSizeF pixels)
{
    const auto side = qCeil(std::max(pixels.width(), pixels.height()));
    auto before = longestSide.load();
    while (before < side && !longestSide.compare_exchange_weak(before, side)) { }
}

UIImage::Decoded decodeImage(const Data& data)
{
    const auto bytes = QByteArray::fromRawData(
        reinterpret_cast<const char*>(data.bytes().data()), static_cast<qsizetype>(data.bytes().size()));
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader {&buffer};
    reader.setAutoTransform(true);
    const auto cost = PictureCost::of(bytes, reader);
    if (!cost)
        return nullptr;
    if (const auto excess = cost->excess())
        return std::unexpected {*excess};
    const auto kept = keptSize(cost->size);
    const bool isTurned = reader.transformation().testFlag(QImageIOHandler::TransformationRotate90);
    if (cost->isScaledWhileDecoded && kept != cost->size)
        reader.setScaledSize(kept);
    auto image = reader.read();
    if (image.isNull())
        return nullptr;
    const auto size = isTurned ? cost->size.transposed() : cost->size;
    if (const auto turned = isTurned ? kept.transposed() : kept; image.size() != turned)
        image = scaledDown(image, turned);
    image.convertTo(QImage::Format_ARGB32_Premultiplied);
    const auto byteCount = static_cast<std::size_t>(image.sizeInBytes());
    return std::make_shared<const UIImage>(
        CGSize {.width = static_cast<double>(size.width()), .height = static_cast<double>(size.height())},
        std::make_shared<const QImage>(std::move(image)), byteCount);
}

} // namespace kova
