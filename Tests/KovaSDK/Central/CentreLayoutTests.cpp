#include "KovaSDK/Push/Central/CentralLayout.h"
#include "Platform/UIKit/TextMeasurer.h"
#include "Tests/KovaSDK/Central/CentreFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <utility>

namespace kova {
namespace {

using tests::Centre;
using tests::record;
using tests::TestPlatform;

constexpr double widths[] {320, 390, 768, 1024};
constexpr double height = 844;

const char* const texts[] {
    "",
    "Oi",
    "Promoção de São João: pães, cafés e açaí ☕️👩‍👩‍👧 até domingo, só na loja da esquina",
};

CGSize lineSize(const std::string& text, const UIFont& font)
{
    return TextMeasurer::shared()->size(text, font, std::numeric_limits<double>::infinity(), 1);
}

std::array<double, 4> sides(const CGRect& rect)
{
    return {rect.minX(), rect.minY(), rect.size.width, rect.size.height};
}

auto areNear(const CGRect& expected)
{
    return testing::Pointwise(testing::DoubleNear(1e-6), sides(expected));
}

// A label without text has no height of its own.
double labelHeight(const std::string& text, const UIFont& font)
{
    return text.empty() ? 0 : lineSize("x", font).height;
}

TEST(CentreLayoutTest, ARowStandsAsDrawnAtEveryWidth)
{
    const TestPlatform platform {MainLoop::Host};
    for (const auto width : widths) {
        for (const std::string text : texts) {
            auto notification = record(text);
            notification.body = text;
            Centre centre {{notification, notification}, {.width = width, .height = height}};
            centre.open();
            const auto cell = centre.cell(1);
            SCOPED_TRACE(std::to_string(width) + " points, " + std::to_string(text.size()) + " bytes");
            const auto titleHeight = labelHeight(text, UIFont::boldSystemFont(16));
            EXPECT_THAT(sides(cell->frame()), areNear({0, 80, width, 80}));
            EXPECT_THAT(sides(cell->img->frame()), areNear({width - 50, 20, 40, 40}));
            EXPECT_THAT(sides(cell->unreadView->frame()), areNear({width - 80, 32.5, 15, 15}));
            // It has no right edge: a long title runs beneath the thumbnail.
            EXPECT_THAT(sides(cell->title->frame()),
                areNear({20, 20, lineSize(text, UIFont::boldSystemFont(16)).width, titleHeight}));
            EXPECT_THAT(sides(cell->body->frame()),
                areNear({20, 30 + titleHeight, width - 80, labelHeight(text, UIFont::boldSystemFont(14))}));
        }
    }
}

TEST(CentreLayoutTest, TheDetailScreenStandsAsDrawnAtEveryWidth)
{
    const TestPlatform platform {MainLoop::Host};
    struct Picture {
        CGSize size;
        double (*expectedHeight)(double width);
    };
    const Picture pictures[] {
        {{}, [](double) { return 0.0; }},
        {{.width = 300, .height = 200}, [](double) { return 200.0; }},
        // Never higher than the screen is wide.
        {{.width = 2000, .height = 3000}, [](double width) { return width; }},
    };
    for (const auto width : widths) {
        for (const std::string text : texts) {
            for (const auto& picture : pictures) {
                auto notification = record(text);
                notification.subtitle = text;
                notification.body = text;
                Centre centre {{notification}, {.width = width, .height = height}};
                centre.open();
                centre.select(0);
                const auto scene = centre.detail()->scene;
                if (picture.size.height > 0)
                    scene->img->setImage(std::make_shared<const UIImage>(picture.size, std::make_shared<int>(0)));
                centre.layOut();

                SCOPED_TRACE(std::to_string(width) + " points, picture " + std::to_string(picture.size.height) + ", "
                    + std::to_string(text.size()) + " bytes");
                constexpr double bar = 44;
                EXPECT_THAT(sides(scene->frame()), areNear({0, bar, width, height - bar}));
                const auto imageHeight = picture.expectedHeight(width);
                EXPECT_THAT(sides(scene->img->frame()), areNear({0, 0, width, imageHeight}));
                const auto textWidth = width - 30;
                double top = imageHeight + 10;
                const auto titleHeight = labelHeight(text, UIFont::boldSystemFont(22));
                EXPECT_THAT(sides(scene->title->frame()), areNear({15, top, textWidth, titleHeight}));
                top += titleHeight + 5;
                const auto subtitleHeight = labelHeight(text, UIFont::boldSystemFont(20));
                EXPECT_THAT(sides(scene->subtitle->frame()), areNear({15, top, textWidth, subtitleHeight}));
                top += subtitleHeight + 5;
                const auto bodyHeight = TextMeasurer::shared()->size(text, UIFont::systemFont(18), textWidth, 0).height;
                EXPECT_THAT(sides(scene->body->frame()), areNear({15, top, textWidth, bodyHeight}));
                EXPECT_THAT(sides(scene->urlBtn->frame()), areNear({15, height - bar - 10 - 50, textWidth, 50}));
            }
        }
    }
}

TEST(CentreLayoutTest, TheTableFillsTheWindowAndFollowsItsSize)
{
    const TestPlatform platform {MainLoop::Host};
    std::vector<KovaNotification> inbox;
    for (int number = 0; number < 100; ++number)
        inbox.push_back(record(std::to_string(number)));
    Centre centre {inbox};
    centre.open();
    EXPECT_EQ(centre.table().frame(), (CGRect {0, 0, 390, 844}));
    // Ten rows fit below the bar of 44 points.
    EXPECT_EQ(centre.table().indexPathsForVisibleRows().size(), 10U);
    EXPECT_EQ(centre.table().contentSize().height, 8000);

    // At the end of the list a larger window shows rows above, not nothing below.
    centre.table().setContentOffset({.x = 0, .y = 7600});
    centre.window->setFrame({0, 0, 390, 2000});
    centre.layOut();
    EXPECT_EQ(centre.table().contentOffset().y, 6000);
    EXPECT_EQ(centre.table().indexPathsForVisibleRows().size(), 25U);
}

TEST(CentreLayoutTest, ColoursAreReadWhenAViewIsBuilt)
{
    const TestPlatform platform {MainLoop::Host};
    Centre centre {{record("a")}};
    centre.open();
    EXPECT_EQ(centre.cell(0)->backgroundColor(), UIColor::whiteColor());
    EXPECT_EQ(centre.list()->navigationController()->navigationBar().barTintColor(), UIColor::clearColor());

    auto& layout = CentralLayout::default_();
    const auto cell = std::exchange(layout.backgroundCellColor, UIColor::redColor());
    const auto bar = std::exchange(layout.navColor, UIColor::blueColor());
    const auto link = std::exchange(layout.openLinkButtonColor, UIColor::redColor());
    EXPECT_EQ(centre.cell(0)->backgroundColor(), UIColor::whiteColor()) << "what is built stays";
    centre.select(0);
    EXPECT_EQ(centre.detail()->scene->urlBtn->backgroundColor(), UIColor::redColor());
    centre.host->dismiss(true);
    centre.open();
    EXPECT_EQ(centre.cell(0)->backgroundColor(), UIColor::redColor());
    EXPECT_EQ(centre.list()->navigationController()->navigationBar().barTintColor(), UIColor::blueColor());
    layout.backgroundCellColor = cell;
    layout.navColor = bar;
    layout.openLinkButtonColor = link;
}

} // namespace
} // namespace kova
