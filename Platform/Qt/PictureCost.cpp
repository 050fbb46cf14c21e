#include "Platform/Qt/PictureCost_p.h"

#include <QImage>
#include <QPixelFormat>
#include <algorithm>
#include <vector>

namespace kova {

namespace {

/// A picture of 5000 x 5000 pixels in the most expensive of the usual forms: eight bytes for each.
constexpr std::uint64_t mostBytes = 192ULL * 1024 * 1024;
/// About a second of a JPEG's pixels on a slow core.
constexpr std::uint64_t mostWork = 1024ULL * 1024 * 1024;
/// How many of them take as long as a pixel that has to be inflated.
constexpr std::uint64_t inflatingWork = 8;

std::uint64_t pixelCount(QSize size)
{
    return static_cast<std::uint64_t>(size.width()) * static_cast<std::uint64_t>(size.height());
}

unsigned byteAt(const QByteArray& file, qsizetype position)
{
    return position < file.size() ? static_cast<unsigned char>(file[position]) : 0U;
}

unsigned bigEndian16(const QByteArray& file, qsizetype position)
{
    return byteAt(file, position) << 8U | byteAt(file, position + 1);
}

/// The frame and the scans of a JPEG.
class JPEGStructure {
public:
    explicit JPEGStructure(const QByteArray& file)
    {
        constexpr unsigned startOfImage = 0xD8;
        constexpr unsigned endOfImage = 0xD9;
        constexpr unsigned startOfScan = 0xDA;
        // Between markers, in the data of a scan too, stands what is skipped.
        qsizetype position = 0;
        while ((position = file.indexOf('\xFF', position)) >= 0) {
            const auto marker = byteAt(file, ++position);
            const bool isAlone = marker <= 0x01 || marker == 0xFF || (marker >= 0xD0 && marker <= startOfImage);
            if (marker == endOfImage)
                return;
            if (isAlone)
                continue;
            const auto segment = position + 1;
            // Tables of Huffman codes and arithmetic conditioning, and an extension, share the numbers of frames.
            if (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC)
                readFrame(file, segment, marker);
            if (marker == startOfScan && m_scans++ == 0)
                m_hasPartialScans = byteAt(file, segment + 2) < m_sampling.size();
            position = segment + bigEndian16(file, segment);
        }
    }

    [[nodiscard]] QSize size() const { return m_size; }
    [[nodiscard]] std::uint64_t scans() const { return m_scans; }

    /// The coefficients of all components are held while there is more than one scan to come.
    [[nodiscard]] std::uint64_t coefficientBytes() const
    {
        if (!m_isProgressive && !m_hasPartialScans)
            return 0;
        std::uint64_t widest = 1;
        std::uint64_t tallest = 1;
        for (const auto sampling : m_sampling) {
            widest = std::max<std::uint64_t>(widest, sampling >> 4U);
            tallest = std::max<std::uint64_t>(tallest, sampling & 0xFU);
        }
        std::uint64_t samples = 0;
        for (const auto sampling : m_sampling)
            samples += pixelCount(m_size) * (sampling >> 4U) * (sampling & 0xFU) / (widest * tallest);
        return samples * sizeof(std::int16_t);
    }

private:
    void readFrame(const QByteArray& file, qsizetype segment, unsigned marker)
    {
        m_isProgressive = (marker & 0x3U) == 2;
        m_size = {static_cast<int>(bigEndian16(file, segment + 5)), static_cast<int>(bigEndian16(file, segment + 3))};
        m_sampling.clear();
        for (unsigned component = 0; component < byteAt(file, segment + 7); ++component)
            m_sampling.push_back(byteAt(file, segment + 9 + 3 * static_cast<qsizetype>(component)));
    }

    QSize m_size;
    std::vector<unsigned> m_sampling;
    bool m_isProgressive = false;
    bool m_hasPartialScans = false;
    std::uint64_t m_scans = 0;
};

std::optional<PictureCost> costOfJPEG(const QByteArray& file, QSize size)
{
    const JPEGStructure structure {file};
    // Whoever reads another frame than the decoder would judge another picture.
    if (structure.size() != size)
        return std::nullopt;
    // It is decoded to an eighth of each side at least.
    return PictureCost {.size = size,
        .isScaledWhileDecoded = true,
        .bytes = structure.coefficientBytes() + pixelCount(size) / 16,
        .work = pixelCount(size) * structure.scans()};
}

/// The bytes that a pixel takes in the format in which the reader would return it.
std::uint64_t bytesPerPixel(QImage::Format format, std::uint64_t otherwise)
{
    if (format == QImage::Format_Invalid)
        return otherwise;
    return std::max<std::uint64_t>(1, QImage::toPixelFormat(format).bitsPerPixel() / 8U);
}

} // namespace

std::optional<PictureCost> PictureCost::of(const QByteArray& file, QImageReader& reader)
{
    const auto kind = reader.format();
    auto size = reader.size();
    // A GIF's frames lie on a screen that may be larger, and it is the screen that is decoded.
    if (kind == "gif") {
        const auto side = [&](qsizetype position) {
            return static_cast<int>(byteAt(file, position) | byteAt(file, position + 1) << 8U);
        };
        size = {side(6), side(8)};
    }
    // A format that does not tell its size beforehand cannot be bounded.
    if (!size.isValid() || size.isEmpty())
        return std::nullopt;
    if (kind == "jpeg")
        return costOfJPEG(file, size);
    const auto pixels = pixelCount(size);
    const auto format = reader.imageFormat();
    if (kind == "png") {
        constexpr qsizetype interlace = 28;
        const bool isScaled = (format == QImage::Format_RGB32 || format == QImage::Format_ARGB32)
            && byteAt(file, interlace) == 0 && file.mid(12, 4) == "IHDR";
        const auto whole = isScaled ? 0 : pixels * bytesPerPixel(format, 8);
        return PictureCost {.size = size,
            .isScaledWhileDecoded = isScaled,
            .bytes = whole,
            .pictureBytes = whole,
            .work = pixels * inflatingWork};
    }
    // The decoder may have a buffer of its own.
    const auto whole = pixels * bytesPerPixel(format, 4);
    return PictureCost {.size = size, .bytes = 2 * whole, .pictureBytes = whole, .work = pixels};
}

std::optional<std::string> PictureCost::excess() const
{
    constexpr std::uint64_t mebibyte = 1024ULL * 1024;
    const auto decoding = "decoding its " + std::to_string(size.width()) + " x " + std::to_string(size.height());
    const auto tooMuch = [&](std::uint64_t needed, std::uint64_t most) {
        return decoding + " pixels takes " + std::to_string(needed / mebibyte) + " MiB of memory, more than "
            + std::to_string(most / mebibyte);
    };
    if (bytes > mostBytes)
        return tooMuch(bytes, mostBytes);
    // Qt has a limit of its own, which the host may have changed.
    const auto qtLimit = static_cast<std::uint64_t>(QImageReader::allocationLimit()) * mebibyte;
    if (qtLimit != 0 && pictureBytes > qtLimit)
        return tooMuch(pictureBytes, qtLimit);
    if (work > mostWork)
        return decoding + " pixels takes too long";
    return std::nullopt;
}

} // namespace kova
