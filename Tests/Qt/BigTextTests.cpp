// Texts as long as a push can carry them: as much is laid out and drawn as can be seen.

#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/Qt/PaintedText_p.h"
#include "Platform/Qt/QtFont_p.h"
#include "Platform/Qt/ViewLook_p.h"
#include "Platform/Qt/VisibleText_p.h"
#include "Platform/UIKit/UILabel.h"
#include "Tests/Qt/CentreWindow.h"

#include <gtest/gtest.h>

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QTextBoundaryFinder>
#include <QTextLayout>
#include <cmath>
#include <limits>
#include <memory>

namespace kova::tests {

namespace {

constexpr auto unlimited = std::numeric_limits<double>::infinity();
constexpr qsizetype mostOfALine = 800;
constexpr qsizetype mostOfAWindow = 16'000;

std::string repeated(const std::string& part, std::size_t bytes)
{
    std::string text;
    while (text.size() < bytes)
        text += part;
    return text;
}

struct Kind {
    const char* name;
    const char* part;
    /// It takes no room, or is a single character, however long it is.
    bool isEndless = false;
    bool isLineEnd = false;
};

constexpr Kind kinds[] {
    {"words", "palavra "},
    {"no blanks", "palavra"},
    {"narrow", "i"},
    {"emoji", "😀"},
    {"joined emoji", "👨‍👩‍👧‍👦"},
    {"pictographs", "🚀🎉"},
    {"flags", "🇧🇷🇵🇹"},
    {"skin tones", "👍🏽👋🏿"},
    {"keycaps", "1️⃣"},
    {"flags of tags", "🏴󠁧󠁢󠁥󠁮󠁧󠁿"},
    {"letters with marks", "e\u0301\u0323"},
    {"combining marks", "\u0301", true},
    {"joiners", "\u200d", true},
    {"right to left", "שלום "},
    {"Arabic without blanks", "السلام"},
    {"both directions", "abc שלום 123 "},
    {"Hangul in pieces", "각"},
    {"line ends", "\n", false, true},
    {"paragraph ends", "\u2029", false, true},
    {"not UTF-8", "\xff"},
};

qsizetype longestDrawn(const QQuickItem& item)
{
    qsizetype longest = item.inherits("QQuickText") ? item.property("text").toString().size() : 0;
    for (const auto* child : item.childItems())
        longest = std::max(longest, longestDrawn(*child));
    return longest;
}

/// The texts that Qt Quick draws in an item and beneath it.
QString drawnTexts(const QQuickItem& item)
{
    auto texts = item.inherits("QQuickText") ? item.property("text").toString() : QString {};
    for (const auto* child : item.childItems())
        texts += drawnTexts(*child);
    return texts;
}

/// How many pixels look otherwise.
int differingPixels(const QImage& image, const QImage& other)
{
    constexpr int visible = 24;
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const auto one = image.pixelColor(x, y);
            const auto two = other.pixelColor(x, y);
            const bool isOther = std::abs(one.red() - two.red()) > visible
                || std::abs(one.green() - two.green()) > visible || std::abs(one.blue() - two.blue()) > visible;
            count += isOther ? 1 : 0;
        }
    }
    return count;
}

/// As large as the text is laid out whole.
CGSize sizeOf(QString text, const UIFont& font, double width)
{
    text.replace(QLatin1Char {'\n'}, QChar {QChar::LineSeparator});
    QTextLayout layout {text, qtFont(font)};
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    CGSize size;
    layout.beginLayout();
    for (auto line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        size = {std::max(size.width, line.naturalTextWidth()), size.height + line.height()};
    }
    layout.endLayout();
    return {std::min(width, size.width), size.height};
}

} // namespace

TEST(BigTextTest, LaysOutWhatCanBeSeen)
{
    const CentreWindow centre;
    struct Room {
        const char* name;
        double width;
        int lines;
        qsizetype most;
    };
    const Room rooms[] {{"a line of any width", unlimited, 1, mostOfALine}, {"a line", 310, 1, mostOfALine},
        {"two lines", 310, 2, 2 * mostOfALine}, {"all lines", 360, 0, mostOfAWindow}};
    for (const auto& kind : kinds) {
        const auto text = repeated(kind.part, 256UL * 1024);
        const auto whole = QString::fromStdString(text).replace(QChar {QChar::ParagraphSeparator}, QLatin1Char {'\n'});
        for (const auto& room : rooms) {
            SCOPED_TRACE(std::string {kind.name} + ", " + room.name);
            const auto font = UIFont::systemFont(18);
            const auto laidOut = layOut(text, font, room.width, room.lines);
            EXPECT_LE(laidOut.text.size(), room.most);
            EXPECT_EQ(visibleText(text, font, room.width, room.lines), laidOut.text) << "what is measured is drawn";
            const auto seen = laidOut.text.endsWith(QChar {0x2026}) ? laidOut.text.chopped(1) : laidOut.text;
            EXPECT_TRUE(whole.startsWith(seen));
            if (kind.isEndless)
                continue;
            QTextBoundaryFinder characters {QTextBoundaryFinder::Grapheme, whole.left(seen.size() + 32)};
            characters.setPosition(seen.size());
            EXPECT_TRUE(characters.isAtBoundary()) << seen.size();
            if (room.lines == 0) {
                EXPECT_GE(laidOut.height, centre.window.height());
            } else if (room.lines == 1 && !kind.isLineEnd) {
                EXPECT_GE(laidOut.width, std::min<double>(room.width, centre.window.width()));
            }
        }
    }
}

TEST(BigTextTest, LeavesTextsAloneThatFit)
{
    const CentreWindow centre;
    constexpr double width = 360;
    const auto font = UIFont::systemFont(18);
    for (const auto& kind : kinds) {
        // From a few characters to what a window shows. Qt breaks longer texts at 4,096 units, in the middle of an
        // emoji, too.
        for (const std::size_t bytes : {40UL, 400UL, 1200UL, 2400UL, 4800UL, 8800UL}) {
            SCOPED_TRACE(std::string {kind.name} + ", " + std::to_string(bytes));
            const auto text = repeated(kind.part, bytes);
            const auto whole
                = QString::fromStdString(text).replace(QChar {QChar::ParagraphSeparator}, QLatin1Char {'\n'});
            const auto size = sizeOf(whole, font, width);
            if (size.height > centre.window.height())
                continue;
            const auto laidOut = layOut(text, font, width, 0);
            EXPECT_EQ(laidOut.text, whole);
            EXPECT_EQ(visibleText(text, font, width, 0), whole);
            EXPECT_DOUBLE_EQ(laidOut.width, size.width);
            EXPECT_DOUBLE_EQ(laidOut.height, size.height);
        }
    }
}

TEST(BigTextTest, DrawsWhatCanBeSeen)
{
    for (const auto* part : {"😀", "palavra", "\u200d", "\n"}) {
        SCOPED_TRACE(part);
        CentreWindow centre;
        auto inbox = inboxOf(3);
        inbox[0].title = inbox[0].subtitle = inbox[0].body = repeated(part, 256UL * 1024);
        centre.open(inbox);
        EXPECT_LE(longestDrawn(*centre.window.contentItem()), mostOfALine);
        static_cast<void>(centre.look("big-list"));
        centre.tapRow(0);
        ASSERT_EQ(centre.stack().viewControllers().size(), 2U);
        EXPECT_LE(longestDrawn(*centre.window.contentItem()), mostOfAWindow);
        static_cast<void>(centre.look("big-detail"));
    }
}

// A bitmap font's emoji are unpacked whenever Qt Quick lays a text out and draws it.
TEST(BigTextTest, PaintsEmojiAsQtQuickDrawsThem)
{
    struct Row {
        const char* name;
        std::string text;
        double width = 300;
        int lines = 0;
        NSTextAlignment alignment = NSTextAlignment::left;
    };
    const Row rows[] {
        {"one line", "🚀🎉🚀🎉🚀 Oi", 300, 1},
        {"joined", repeated("\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466", 400)},
        {"flags", "🇧🇷🇵🇹🇧🇷🇵🇹🇧🇷🇵🇹🇧🇷🇵🇹🇧🇷🇵🇹🇧🇷🇵🇹🇧🇷🇵🇹🇧🇷🇵🇹🇧🇷🇵🇹"},
        {"skin tones and words", "Olá 👍🏽👋🏿 uma promoção 👍🏽👋🏿 para todos 👍🏽👋🏿\n🚀"},
        {"centred", "🚀🎉 uma\n🚀🎉 outra\n🎉", 300, 0, NSTextAlignment::center},
        {"to the right", "🚀🎉 uma\n🚀🎉 outra\n🎉", 300, 0, NSTextAlignment::right},
        {"right to left", "🚀🎉 שלום 🚀🎉 abc 🎉", 300, 0},
        {"cut", "🚀🎉 uma 🚀🎉 outra 🚀🎉 e mais uma", 170, 1},
        {"cut in the second line", "🚀🎉 uma 🚀🎉 outra 🚀🎉 e mais uma 🚀🎉 e o fim", 120, 2},
        {"cut at a line end", "🚀🎉🚀🎉🚀🎉\n🚀", 300, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        CentreWindow centre;
        auto host = std::make_shared<UIViewController>();
        auto label = std::make_shared<UILabel>();
        label->setText(row.text);
        label->setFont(UIFont::systemFont(18));
        label->setNumberOfLines(row.lines);
        label->setTextAlignment(row.alignment);
        auto size = label->sizeThatFits({.width = row.width, .height = unlimited});
        size.width = row.width;
        label->setFrame({{10, 10}, size});
        host->view()->setBackgroundColor(UIColor::whiteColor());
        host->view()->addSubview(label);
        centre.screen->presenter()->present(host, false);
        ASSERT_TRUE(centre.settle());
        if (!PaintedText::isFor(QString::fromUtf8(row.text), qtFont(label->font())))
            GTEST_SKIP() << "no emoji of a bitmap font are installed";
        EXPECT_EQ(drawnTexts(*centre.window.contentItem()), QString {});
        const auto area = centre.place(*label).toRect();
        const auto painted = centre.look("painted").copy(area);

        QQmlEngine engine;
        QQmlComponent component {&engine};
        component.setData("import QtQuick\nText { textFormat: Text.PlainText; elide: Text.ElideRight; "
                          "verticalAlignment: Text.AlignVCenter; color: 'black' }",
            {});
        const std::unique_ptr<QQuickItem> text {qobject_cast<QQuickItem*>(component.create())};
        ASSERT_TRUE(text) << component.errorString().toStdString();
        QQuickWindow window;
        window.resize(centre.window.size());
        text->setParentItem(window.contentItem());
        text->setPosition(area.topLeft());
        text->setSize(QSizeF {size.width, size.height});
        text->setProperty("font", qtFont(label->font()));
        text->setProperty("wrapMode", row.lines == 1 ? 0 : 4);
        text->setProperty("maximumLineCount", row.lines > 0 ? row.lines : std::numeric_limits<int>::max());
        text->setProperty("horizontalAlignment", static_cast<int>(qtAlignment(row.alignment)));
        text->setProperty("text", QString::fromUtf8(row.text));
        window.show();
        ASSERT_TRUE(eventually([&] { return window.isExposed(); }));
        const auto drawn = window.grabWindow().copy(area);
        QImage blank {drawn.size(), drawn.format()};
        blank.fill(Qt::white);
        const int inked = differingPixels(drawn, blank);
        EXPECT_GT(inked, 0);
        EXPECT_LE(differingPixels(painted, drawn), inked / 100);
    }
}

TEST(BigTextTest, PaintsDifferentEmojiAFewAtATime)
{
    const CentreWindow centre;
    QString text;
    for (char32_t emoji = 0x1F300; emoji < 0x1F600; ++emoji)
        text += QString::fromUcs4(&emoji, 1);
    const auto font = qtFont(UIFont::systemFont(18));
    if (!PaintedText::isFor(text, font))
        GTEST_SKIP() << "no emoji of a bitmap font are installed";
    // In a colour of their own, so that no other test has painted them.
    PaintedText painted {text,
        {.font = font, .color = QColor {1, 2, 3}, .alignment = Qt::AlignLeft, .maximumLineCount = 1000}, {360, 2000},
        1};
    EXPECT_FALSE(painted.finish());
    const auto first = painted.image();
    EXPECT_FALSE(painted.finish()) << "before the event loop has turned";
    EXPECT_EQ(painted.image(), first);
    EXPECT_TRUE(eventually([&] { return painted.finish(); }));
    EXPECT_GT(differingPixels(painted.image(), first), 1000);
}

TEST(BigTextTest, ShowsMoreInALargerWindow)
{
    CentreWindow centre;
    auto inbox = inboxOf(1);
    inbox[0].title = inbox[0].body = repeated("palavra ", 64UL * 1024);
    centre.open(inbox);
    const auto title = [&] { return find<UILabel>(*centre.table().cellForRow({.row = 0})); };
    EXPECT_GE(centre.place(*title()).right(), 390);
    EXPECT_LT(centre.place(*title()).right(), 1200);
    centre.window.resize(1600, 844);
    EXPECT_TRUE(eventually([&] { return centre.place(*title()).right() >= 1600; }));
    centre.tapRow(0);
    const auto isDrawnDownTo = [&](double height) {
        const auto* body
            = find<UILabel>(*centre.top().view(), [](const UILabel& label) { return label.numberOfLines() == 0; });
        return centre.place(*body).bottom() >= height;
    };
    EXPECT_TRUE(isDrawnDownTo(844));
    centre.window.resize(1600, 1200);
    EXPECT_TRUE(eventually([&] { return isDrawnDownTo(1200); }));
}

TEST(BigTextTest, BreaksLinesWhereTheTextDoes)
{
    for (const auto* text : {"uma\nduas", "uma\u2028duas", "uma\u2029duas"}) {
        SCOPED_TRACE(text);
        CentreWindow centre;
        auto host = std::make_shared<UIViewController>();
        auto label = std::make_shared<UILabel>();
        label->setText(text);
        label->setNumberOfLines(0);
        const auto size = label->sizeThatFits({.width = 300, .height = unlimited});
        label->setText("uma");
        EXPECT_NEAR(size.height, 2 * label->sizeThatFits({.width = 300, .height = unlimited}).height, 1);
        label->setText(text);
        label->setFrame({{10, 10}, size});
        host->view()->addSubview(label);
        centre.screen->presenter()->present(host, false);
        ASSERT_TRUE(centre.settle());
        const auto* drawn = centre.drawnText(visibleText(text, label->font(), size.width, 0));
        ASSERT_TRUE(drawn);
        EXPECT_EQ(drawn->property("lineCount").toInt(), 2);
        EXPECT_NEAR(drawn->property("contentHeight").toDouble(), size.height, 1);
    }
}

} // namespace kova::tests
