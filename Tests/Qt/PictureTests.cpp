// Pictures from their files to what is drawn: sharp at every size, and bounded in what they cost on the way.

#include "KovaSDK/Extensions/UIImageView.h"
#include "Platform/UIKit/UIImage.h"
#include "Platform/UIKit/UIScreen.h"
#include "Tests/Qt/CentreWindow.h"
#include "Tests/Support/LoadSize.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/Numbered.h"
#include "Tests/Support/ProcessResources.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QGuiApplication>
#include <QImageReader>
#include <QImageWriter>
#include <QScopeGuard>
#include <QScreen>
#include <QtEndian>
#include <algorithm>
#include <thread>

namespace kova::tests {

namespace {

enum class Scans { One, Progressive };

QByteArray bytesOf(const QImage& image, const char* format, Scans scans = Scans::One)
{
    QBuffer buffer;
    QImageWriter writer {&buffer, format};
    writer.setProgressiveScanWrite(scans == Scans::Progressive);
    writer.write(image);
    return buffer.data();
}

QByteArray plain(QSize size, const char* format, Scans scans = Scans::One)
{
    QImage image {size, QImage::Format_RGB32};
    image.fill(Qt::darkCyan);
    return bytesOf(image, format, scans);
}

/// Says of a small JPEG that it is a large one, as a small file may.
QByteArray claiming(QSize size, QByteArray jpeg)
{
    const auto baseline = jpeg.indexOf("\xFF\xC0");
    const auto frame = baseline >= 0 ? baseline : jpeg.indexOf("\xFF\xC2");
    qToBigEndian(static_cast<quint16>(size.height()), jpeg.data() + frame + 5);
    qToBigEndian(static_cast<quint16>(size.width()), jpeg.data() + frame + 7);
    return jpeg;
}

/// A JPEG whose last scan comes again and again.
QByteArray withScans(const QByteArray& jpeg, int count)
{
    const auto last = jpeg.lastIndexOf("\xFF\xDA");
    const auto scan = jpeg.mid(last, jpeg.size() - 2 - last);
    return jpeg.left(last) + scan.repeated(count) + "\xFF\xD9";
}

QByteArray chunk(const QByteArray& typeAndData)
{
    quint32 sum = ~0U;
    for (const auto byte : typeAndData) {
        sum ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = sum & 1U ? sum >> 1U ^ 0xEDB88320U : sum >> 1U;
    }
    QByteArray whole {4, '\0'};
    qToBigEndian(static_cast<quint32>(typeAndData.size() - 4), whole.data());
    whole += typeAndData;
    QByteArray tail {4, '\0'};
    qToBigEndian(~sum, tail.data());
    return whole + tail;
}

enum class PNGKind : char { Grey = 0, RGB = 2, Palette = 3, RGBA = 6 };

/// One colour all over: every byte of every line is zero.
QByteArray png(QSize size, char depth, PNGKind kind, bool isInterlaced)
{
    const int samples = kind == PNGKind::RGBA ? 4 : kind == PNGKind::RGB ? 3 : 1;
    const auto lineOf = [&](int width) { return (width * samples * depth + 7) / 8 + 1; };
    struct Pass {
        int x;
        int y;
        int dx;
        int dy;
    };
    const std::vector<Pass> passes = isInterlaced ? std::vector<Pass> {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8},
                                                        {2, 0, 4, 4}, {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}}
                                                  : std::vector<Pass> {{0, 0, 1, 1}};
    qsizetype bytes = 0;
    for (const auto& pass : passes)
        bytes += qsizetype {lineOf((size.width() - pass.x + pass.dx - 1) / pass.dx)}
            * ((size.height() - pass.y + pass.dy - 1) / pass.dy);
    QByteArray header {"IHDR"};
    header.resize(17);
    qToBigEndian(static_cast<quint32>(size.width()), header.data() + 4);
    qToBigEndian(static_cast<quint32>(size.height()), header.data() + 8);
    header[12] = depth;
    header[13] = static_cast<char>(kind);
    header[14] = header[15] = 0;
    header[16] = isInterlaced ? 1 : 0;
    // A picture that is too large is refused by its header.
    const auto data = bytes > 200'000'000 ? QByteArray {} : qCompress(QByteArray {bytes, '\0'}).mid(4);
    return "\x89PNG\r\n\x1A\n" + chunk(header) + (kind == PNGKind::Palette ? chunk("PLTE" + QByteArray {3, '\0'}) : "")
        + chunk("IDAT" + data) + chunk("IEND");
}

/// A frame of one pixel on a screen of this size.
QByteArray gif(QSize size)
{
    QByteArray file {"GIF89a"};
    file.resize(10);
    qToLittleEndian(static_cast<quint16>(size.width()), file.data() + 6);
    qToLittleEndian(static_cast<quint16>(size.height()), file.data() + 8);
    file += QByteArray::fromHex("800000"
                                "00000000ffff"
                                "2c00000000010001000002024401003b");
    return file;
}

Data data(const QByteArray& bytes)
{
    return Data {bytes.toStdString()};
}

} // namespace

TEST(PictureTest, IsDecodedToWhatAScreenCanShow)
{
    struct Row {
        const char* name;
        QByteArray file;
        /// Points, which for a picture are its pixels.
        QSize size;
    };
    const Row rows[] {
        {"png", plain({30, 20}, "PNG"), {30, 20}},
        {"jpeg", plain({30, 20}, "JPG"), {30, 20}},
        {"bmp", plain({30, 20}, "BMP"), {30, 20}},
        {"gif", gif({30, 20}), {30, 20}},
        {"large jpeg", plain({8000, 4000}, "JPG"), {8000, 4000}},
        {"progressive jpeg", plain({5000, 5000}, "JPG", Scans::Progressive), {5000, 5000}},
        {"png", png({5000, 5000}, 8, PNGKind::RGB, false), {5000, 5000}},
        {"png with alpha", png({5000, 5000}, 8, PNGKind::RGBA, false), {5000, 5000}},
        {"png with a palette", png({5000, 5000}, 8, PNGKind::Palette, false), {5000, 5000}},
        {"png of two colours", png({5000, 5000}, 1, PNGKind::Grey, false), {5000, 5000}},
        {"grey png of sixteen bits", png({5000, 5000}, 16, PNGKind::Grey, false), {5000, 5000}},
        {"interlaced png", png({5000, 5000}, 8, PNGKind::RGB, true), {5000, 5000}},
        {"gif", gif({5000, 5000}), {5000, 5000}},
        {"line", png({20'000, 1}, 8, PNGKind::RGB, false), {20'000, 1}},
    };
    const QtPlatform qt;
    for (const auto& [name, file, size] : rows) {
        SCOPED_TRACE(name);
        UIImage::Decoded decoded;
        std::jthread {[&] { decoded = UIImage::decode(data(file)); }}.join();
        ASSERT_TRUE(decoded) << decoded.error();
        ASSERT_TRUE(*decoded);
        const auto& image = **decoded;
        EXPECT_EQ(image.size(), (CGSize {static_cast<double>(size.width()), static_cast<double>(size.height())}));
        const auto& pixels = *static_cast<const QImage*>(image.pixels().get());
        EXPECT_EQ(image.byteCount(), static_cast<std::size_t>(pixels.sizeInBytes()));
        EXPECT_LE(image.byteCount(), 16U * 1024 * 1024);
        EXPECT_TRUE(size.width() > 100 || pixels.size() == size);
    }
}

TEST(PictureTest, IsScaledDownFaithfully)
{
    // Four quarters in four colours, in forms that Qt scales itself and that it does not.
    QImage quarters {5000, 5000, QImage::Format_RGB32};
    const QColor colors[] {Qt::red, Qt::green, Qt::blue, Qt::yellow};
    for (int y = 0; y < 5000; ++y) {
        auto* line = reinterpret_cast<QRgb*>(quarters.scanLine(y));
        for (int x = 0; x < 5000; ++x)
            line[x] = colors[(y >= 2500 ? 2 : 0) + (x >= 2500 ? 1 : 0)].rgb();
    }
    const QtPlatform qt;
    const QByteArray files[] {bytesOf(quarters, "PNG"),
        bytesOf(quarters.convertToFormat(QImage::Format_Indexed8), "PNG"), bytesOf(quarters, "JPG"),
        bytesOf(quarters, "BMP")};
    for (const auto& file : files) {
        const auto image = UIImage::create(data(file));
        ASSERT_TRUE(image);
        const auto& pixels = *static_cast<const QImage*>(image->pixels().get());
        const auto side = pixels.width();
        EXPECT_EQ(pixels.height(), side);
        for (int index = 0; index < 4; ++index) {
            for (const double place : {0.01, 0.25, 0.49}) {
                const auto x = static_cast<int>(side * (place + (index % 2) * 0.5));
                const auto y = static_cast<int>(side * (place + (index / 2) * 0.5));
                const auto color = pixels.pixelColor(x, y);
                EXPECT_NEAR(color.red(), colors[index].red(), 3) << x << " " << y;
                EXPECT_NEAR(color.green(), colors[index].green(), 3) << x << " " << y;
                EXPECT_NEAR(color.blue(), colors[index].blue(), 3) << x << " " << y;
            }
        }
    }
}

TEST(PictureTest, WhatCostsTooMuchIsRefusedBeforeItIsDecoded)
{
    struct Row {
        const char* name;
        QByteArray file;
        std::string reason;
    };
    const auto jpeg = plain({64, 64}, "JPG");
    const auto progressive = plain({64, 64}, "JPG", Scans::Progressive);
    const Row rows[] {
        {"progressive jpeg", claiming({30'000, 30'000}, progressive),
            "decoding its 30000 x 30000 pixels takes 2628 MiB of memory, more than 192"},
        {"jpeg of many scans", claiming({5000, 5000}, withScans(progressive, 1000)),
            "decoding its 5000 x 5000 pixels takes too long"},
        {"jpeg", claiming({65'000, 65'000}, jpeg),
            "decoding its 65000 x 65000 pixels takes 251 MiB of memory, more than 192"},
        {"jpeg", claiming({40'000, 40'000}, jpeg), "decoding its 40000 x 40000 pixels takes too long"},
        {"png", png({15'000, 15'000}, 8, PNGKind::RGB, false), "decoding its 15000 x 15000 pixels takes too long"},
        {"interlaced png", png({10'000, 10'000}, 8, PNGKind::RGB, true),
            "decoding its 10000 x 10000 pixels takes 381 MiB of memory, more than 192"},
        {"png that exceeds Qt's own limit", png({5000, 5000}, 16, PNGKind::RGBA, false),
            "decoding its 5000 x 5000 pixels takes 190 MiB of memory, more than 128"},
        {"gif", gif({30'000, 30'000}), "decoding its 30000 x 30000 pixels takes 6866 MiB of memory, more than 192"},
    };
    const QtPlatform qt;
    // Qt's own limit differs from one version to the next.
    const auto qtLimit = QImageReader::allocationLimit();
    QImageReader::setAllocationLimit(128);
    const auto restore = qScopeGuard([qtLimit] { QImageReader::setAllocationLimit(qtLimit); });
    const auto before = ProcessResources::now();
    for (const auto& [name, file, reason] : rows) {
        SCOPED_TRACE(name);
        const auto decoded = UIImage::decode(data(file));
        ASSERT_FALSE(decoded);
        EXPECT_EQ(decoded.error(), reason);
        EXPECT_FALSE(UIImage::create(data(file)));
    }
    const auto small = plain({30, 20}, "PNG");
    for (const auto& file : {small.left(small.size() / 2), QByteArray {}, QByteArray {"<html></html>"},
             QByteArray {"GIF89a"}, QByteArray {"\xFF\xD8\xFF"}}) {
        const auto decoded = UIImage::decode(data(file));
        ASSERT_TRUE(decoded) << decoded.error();
        EXPECT_FALSE(*decoded);
    }
    EXPECT_TRUE(
        !memoryTells || ProcessResources::now().peakResidentBytes < before.peakResidentBytes + 64UL * 1024 * 1024);
}

// One picture serves the row's thumbnail and the detail screen's full width.
TEST(PicturePixelTest, IsSharpInFullWidth)
{
    // Stripes of one pixel of the screen, at a size that is scaled down to the window.
    LoopbackServer server;
    CentreWindow centre;
    const auto width = static_cast<int>(390 * UIScreen::main().scale);
    QImage stripes {4 * width, 4 * width, QImage::Format_RGB32};
    for (int y = 0; y < stripes.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(stripes.scanLine(y));
        for (int x = 0; x < stripes.width(); ++x)
            line[x] = x / 16 % 2 == 0 ? qRgb(0, 0, 0) : qRgb(255, 255, 255);
    }
    server.setDefault(Reply::status(200, bytesOf(stripes, "PNG").toStdString(), {{"Content-Type", "image/png"}}));
    auto inbox = inboxOf(1);
    inbox[0].att = server.url("/stripes.png").absoluteString();
    centre.open(inbox);
    ASSERT_TRUE(eventually([&] { return imageCache().object(*inbox[0].att) != nullptr; }));
    centre.tapRow(0);
    ASSERT_TRUE(centre.settle());
    const auto image = centre.look("stripes");
    EXPECT_EQ(server.requests().size(), 1U) << "the second view finds it in the cache";
    // Four pixels of the window a stripe: blurred ones never get black and white.
    int black = 0;
    int white = 0;
    for (int x = 0; x < image.width(); ++x) {
        const auto grey = qGray(image.pixel(x, static_cast<int>(150 * UIScreen::main().scale)));
        black += grey < 32 ? 1 : 0;
        white += grey > 223 ? 1 : 0;
    }
    EXPECT_GT(black, width / 4);
    EXPECT_GT(white, width / 4);
    imageCache().removeAllObjects();
}

TEST(PictureTest, MemoryGoesBackWhenTheCentreIsClosed)
{
    constexpr int count = 12;
    const auto file = png({2048, 2048}, 8, PNGKind::RGB, false).toStdString();
    LoopbackServer server;
    server.setDefault(Reply::status(200, file, {{"Content-Type", "image/png"}}));
    CentreWindow centre;
    auto inbox = inboxOf(count);
    for (int row = 0; row < count; ++row)
        inbox[static_cast<std::size_t>(row)].att = server.url(numbered("/", row)).absoluteString();
    centre.open(inboxOf(count));
    centre.screen->presenter()->dismiss(false);
    ASSERT_TRUE(centre.settle());
    const auto before = ProcessResources::now();
    centre.open(inbox);
    ASSERT_TRUE(eventually([&] { return imageCache().object(*inbox[8].att) != nullptr; }));
    centre.table().setContentOffset({.x = 0, .y = 300});
    ASSERT_TRUE(eventually([&] { return imageCache().object(*inbox[count - 1].att) != nullptr; }));
    ASSERT_TRUE(centre.settle());
    const auto open = ProcessResources::now();
    centre.screen->presenter()->dismiss(false);
    ASSERT_TRUE(centre.settle());
    constexpr std::size_t mebibyte = 1024UL * 1024;
    const auto isBack = [&] { return ProcessResources::now().residentBytes < before.residentBytes + 24 * mebibyte; };
    EXPECT_TRUE(!memoryTells || eventually(isBack));
    std::cout << "before " << before << "; open " << open << "; closed " << ProcessResources::now() << "\n";
    imageCache().removeAllObjects();
}

} // namespace kova::tests
