#include "Platform/Qt/EmojiLayout_p.h"
#include "Platform/Qt/QtFont_p.h"
#include "Platform/Qt/VisibleText_p.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <QTextBoundaryFinder>
#include <QWindow>
#include <algorithm>
#include <cmath>
#include <deque>
#include <limits>
#include <utility>

namespace kova {

namespace {

constexpr QChar ellipsis {0x2026};
/// Code units that take as much of a line as the font is high: letters need two to four, the longest sequences of
/// joined emoji fifteen.
constexpr double usualUnitsPerEm = 2.5;
constexpr double mostUnitsPerEm = 16;
constexpr double growth = 1.1;
/// So much more than the room is worth, for what a line leaves free at its end.
constexpr qsizetype margin = 16;
/// Enough of a text to tell how closely it is written.
constexpr qsizetype sampleLength = 48;
/// Texts of an ordinary length are never cut.
constexpr qsizetype ordinaryLength = 256;
constexpr std::size_t remembered = 32;
/// No window is smaller.
constexpr CGSize leastRoom {.width = 320, .height = 480};

struct Request {
    UIFont font;
    /// Where lines are broken; infinite if they are not.
    double lineWidth;
    int numberOfLines;
    CGSize room;

    [[nodiscard]] bool isBroken() const { return std::isfinite(lineWidth); }

    friend bool operator==(const Request&, const Request&) = default;
};

/// How many code units are worth looking at.
struct Lengths {
    /// Texts up to here are never cut.
    qsizetype uncut;
    qsizetype maximum;
    /// How many ems fill the room.
    double ems;
};

struct Layout {
    double width = 0;
    double height = 0;
    /// How much of the room is filled, to the side or downwards: beyond 1 nothing is seen.
    double filled = 0;
    /// How many code units were laid out until then.
    qsizetype length = 0;
};

enum class Part { Whole, Beginning };

/// A text that was cut, for the next time: it is measured more than once, and drawn.
struct Memory {
    Request request;
    /// All that was looked at: another text that begins so and goes on is cut at the same place.
    QString beginning;
    VisibleText result;
};

std::deque<Memory>& memories()
{
    static std::deque<Memory> memories;
    return memories;
}

Request makeRequest(const UIFont& font, double maximumWidth, int numberOfLines)
{
    const bool isBroken = numberOfLines != 1 && std::isfinite(maximumWidth);
    return {.font = font,
        .lineWidth = isBroken ? std::max(0.0, maximumWidth) : std::numeric_limits<double>::infinity(),
        .numberOfLines = std::max(0, numberOfLines),
        .room = visibleRoom()};
}

Lengths lengthsOf(const Request& request, const QFont& font)
{
    const double visibleLines = request.room.height / std::max(1.0, QFontMetricsF {font}.height()) + 2;
    const double lines
        = request.numberOfLines > 0 ? std::min<double>(request.numberOfLines, visibleLines) : visibleLines;
    // However narrow it is, a line takes one character.
    const double emsOfLine = std::max(1.0, std::min(request.lineWidth, request.room.width) / font.pixelSize());
    const auto length
        = [&](double unitsPerEm) { return static_cast<qsizetype>(emsOfLine * lines * unitsPerEm) + margin; };
    return {.uncut = std::max(ordinaryLength, length(usualUnitsPerEm)),
        .maximum = std::max(ordinaryLength, length(mostUnitsPerEm)),
        .ems = emsOfLine * (request.isBroken() ? lines : 1)};
}

/// The beginning of a text as Qt Quick wants it, and not much more than there are code units asked for.
QString decoded(std::string_view text, qsizetype units)
{
    // No unit takes more bytes.
    const auto most = static_cast<std::size_t>(units) * 3;
    if (most < text.size()) {
        const auto isContinuation = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80; };
        auto end = most;
        while (end > 0 && isContinuation(text[end]))
            --end;
        text = text.substr(0, end);
    }
    auto result = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    // Qt Quick breaks a line at the one and not at the other.
    result.replace(QChar {QChar::ParagraphSeparator}, QLatin1Char {'\n'});
    return result;
}

/// The beginning of a longer text: of whole characters, unless a single one is longer.
QString cut(const QString& text, qsizetype length)
{
    // The code units behind it tell where a character ends.
    auto piece = text.left(length + margin);
    QTextBoundaryFinder finder {QTextBoundaryFinder::Grapheme, piece};
    finder.setPosition(length);
    auto end = finder.isAtBoundary() ? length : finder.toPreviousBoundary();
    if (end <= 0)
        end = piece.at(length).isLowSurrogate() ? length - 1 : length;
    piece.truncate(end);
    return piece;
}

bool hasRightToLeft(const QString& text)
{
    return std::ranges::any_of(text.toUcs4(), [](char32_t character) {
        const auto direction = QChar::direction(character);
        return direction == QChar::DirR || direction == QChar::DirAL;
    });
}

Layout layOut(QString text, Part part, const QFont& font, const Request& request)
{
    text.replace(QLatin1Char {'\n'}, QChar {QChar::LineSeparator});
    QTextOption option;
    option.setWrapMode(request.numberOfLines == 1 ? QTextOption::NoWrap : QTextOption::WrapAtWordBoundaryOrAnywhere);
    EmojiLayout layout {text, font, option};
    const double lineWidth = request.isBroken() ? request.lineWidth : std::numeric_limits<int>::max() / 256.0;
    const double bottom = request.room.height + QFontMetricsF {font}.height();
    Layout result;
    bool isBelowRoom = false;
    layout.begin();
    for (int count = 0; !isBelowRoom && (request.numberOfLines == 0 || count < request.numberOfLines); ++count) {
        const auto line = layout.nextLine(lineWidth);
        if (!line)
            break;
        result.width = std::max(result.width, line->width);
        result.height += line->height;
        result.length = line->end;
        isBelowRoom = part == Part::Beginning && result.height > bottom;
    }
    layout.end();
    result.filled = std::max(result.height / bottom, request.isBroken() ? 0 : result.width / request.room.width);
    const double ellipsisWidth = QFontMetricsF {font}.horizontalAdvance(ellipsis);
    const bool isOneLine = request.numberOfLines == 1;
    if (part == Part::Beginning && isOneLine && result.filled > 1 && !hasRightToLeft(text)) {
        const auto cursor = layout.cursorBeyond(request.room.width, margin);
        result.width = cursor.x + ellipsisWidth;
        result.length = cursor.position;
    } else if (!isBelowRoom && result.length < text.size()) {
        // The lines that are allowed are full, and the last one ends in an ellipsis, which takes room as well.
        result.filled = std::max(result.filled, 2.0);
        result.width += ellipsisWidth;
        if (!isOneLine)
            result.length = text.size();
    }
    return result;
}

double widthOf(const QString& text, const QFont& font)
{
    EmojiLayout layout {text, font, {}};
    double width = 0;
    layout.begin();
    while (const auto line = layout.nextLine(std::numeric_limits<int>::max() / 256.0))
        width = std::max(width, line->width);
    layout.end();
    return width;
}

VisibleText layOutCut(
    const QString& text, bool isWhole, const QFont& font, const Request& request, const Lengths& lengths)
{
    const auto sample = cut(text, sampleLength);
    const double ems = widthOf(sample, font) / font.pixelSize();
    const double unitsPerEm = std::min(mostUnitsPerEm, static_cast<double>(sample.size()) / std::max(1.0, ems));
    for (auto length = static_cast<qsizetype>(lengths.ems * unitsPerEm * growth) + margin;;) {
        length = std::min(length, lengths.maximum);
        if (isWhole && length >= text.size()) {
            const auto layout = layOut(text, Part::Whole, font, request);
            return {.text = text, .width = layout.width, .height = layout.height};
        }
        auto piece = cut(text, length) + ellipsis;
        const auto layout = layOut(piece, Part::Beginning, font, request);
        if (layout.filled <= 1 && length < lengths.maximum) {
            length = static_cast<qsizetype>(static_cast<double>(length) * std::max(growth, growth / layout.filled));
            continue;
        }
        if (layout.length < piece.size()) {
            piece.truncate(layout.length);
            // Below the room a line ends where it is broken, and an ellipsis would need one more.
            if (!request.isBroken())
                piece.append(ellipsis);
        }
        VisibleText result {.text = std::move(piece), .width = layout.width, .height = layout.height};
        memories().push_back({.request = request, .beginning = text.left(length + margin), .result = result});
        if (memories().size() > remembered)
            memories().pop_front();
        return result;
    }
}

} // namespace

CGSize visibleRoom()
{
    auto room = leastRoom;
    for (const auto* window : QGuiApplication::allWindows()) {
        room.width = std::max<double>(room.width, window->width());
        room.height = std::max<double>(room.height, window->height());
    }
    return room;
}

VisibleText layOut(std::string_view text, const UIFont& uiFont, double maximumWidth, int numberOfLines)
{
    if (text.empty())
        return {};
    const auto request = makeRequest(uiFont, maximumWidth, numberOfLines);
    const auto font = qtFont(uiFont);
    const auto lengths = lengthsOf(request, font);
    // With what tells where its last character ends.
    const auto longest = lengths.maximum + margin;
    auto string = decoded(text, longest);
    const bool isWhole = text.size() <= static_cast<std::size_t>(longest) * 3;
    VisibleText result;
    if (isWhole && string.size() <= lengths.uncut) {
        const auto layout = layOut(string, Part::Whole, font, request);
        result = {.text = std::move(string), .width = layout.width, .height = layout.height};
    } else {
        const auto known = std::ranges::find_if(memories(), [&](const Memory& memory) {
            return memory.request == request && string.size() > memory.beginning.size()
                && string.startsWith(memory.beginning);
        });
        result = known != memories().end() ? known->result : layOutCut(string, isWhole, font, request, lengths);
    }
    if (std::isfinite(maximumWidth))
        result.width = std::min(result.width, std::max(0.0, maximumWidth));
    return result;
}

QString visibleText(std::string_view text, const UIFont& font, double maximumWidth, int numberOfLines)
{
    const auto lengths = lengthsOf(makeRequest(font, maximumWidth, numberOfLines), qtFont(font));
    if (text.size() <= static_cast<std::size_t>(lengths.uncut))
        return decoded(text, lengths.uncut);
    return layOut(text, font, maximumWidth, numberOfLines).text;
}

} // namespace kova
