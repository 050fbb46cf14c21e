#include "KovaSDK/Extensions/UIBarButtonItem.h"
#include "KovaSDK/Push/Central/CentralButton.h"
#include "Platform/Foundation/NSCoder.h"
#include "Platform/UIKit/CAShapeLayer.h"
#include "Platform/UIKit/CATextLayer.h"
#include "Platform/UIKit/TextMeasurer.h"
#include "Tests/KovaSDK/Central/CentreFixture.h"

#include <gtest/gtest.h>

#include <limits>

namespace kova {
namespace {

using tests::record;
using tests::TestPlatform;

CGSize fitted(const std::string& text)
{
    return TextMeasurer::shared()->size(text, UIFont::systemFont(12), std::numeric_limits<double>::infinity(), 1);
}

TEST(CentralButtonTest, TheBadgeStandsOnTheCornerAndIsNeverNarrowerThanHigh)
{
    CentralButton button {{10, 10, 100, 40}};
    EXPECT_TRUE(button.badgeLabel->isHidden());

    for (const std::string text : {"", "1", "12", "a long badge"}) {
        button.setBadge(text);
        const auto size = fitted(text);
        const double height = std::max(size.height + 5, 18.0);
        const double width = std::max(height, size.width + 10);
        EXPECT_FALSE(button.badgeLabel->isHidden()) << text;
        EXPECT_EQ(button.badgeLabel->frame(), (CGRect {100 - width / 2, -height / 2, width, height})) << text;
        EXPECT_EQ(button.badgeLabel->layer().cornerRadius(), height / 2) << text;
        EXPECT_EQ(button.subviews().back(), button.badgeLabel) << text;
    }
    button.setBadge("1");
    EXPECT_EQ(button.badgeLabel->frame(), (CGRect {91, -9, 18, 18})) << "one character stands in a circle";
    EXPECT_EQ(button.badgeLabel->textAlignment(), NSTextAlignment::center);
    EXPECT_TRUE(button.badgeLabel->clipsToBounds());

    button.setBadge(std::nullopt);
    EXPECT_TRUE(button.badgeLabel->isHidden());
}

TEST(CentralButtonTest, InsetsPlaceItByTheFittedHeightAndLooksTakeEffectWithTheNextBadge)
{
    CentralButton button {{10, 10, 100, 40}};
    button.setBadge("7");
    button.badgeEdgeInsets = {.top = 3, .left = 5, .bottom = 1, .right = 2};
    button.badgeBackgroundColor = UIColor::blueColor();
    button.badgeTextColor = UIColor::blackColor();
    EXPECT_EQ(button.badgeLabel->backgroundColor(), UIColor::redColor());
    EXPECT_EQ(button.badgeLabel->textColor(), UIColor::whiteColor());
    EXPECT_EQ(button.badgeLabel->frame().minY(), button.badgeLabel->frame().size.height / -2);

    button.setBadge("8");
    EXPECT_EQ(button.badgeLabel->backgroundColor(), UIColor::blueColor());
    EXPECT_EQ(button.badgeLabel->textColor(), UIColor::blackColor());
    EXPECT_EQ(button.badgeLabel->frame().origin,
        (CGPoint {.x = 5 - 2 + (100 - 10.0), .y = fitted("8").height * -0.5 - 10 + (3 - 1)}));
}

TEST(CentralButtonTest, IsNotMadeFromAnArchive)
{
    EXPECT_DEATH(CentralButton {NSCoder {}}, "Fatal error: init\\(coder:\\) is not implemented");
}

class BarBadgeTest : public testing::Test {
protected:
    BarBadgeTest() { m_item.setView(m_view); }

    static void setUnread(int unread)
    {
        std::vector<KovaNotification> inbox {record("read", true)};
        for (int number = 0; number < unread; ++number)
            inbox.push_back(record("unread"));
        NotificationStorage::setBuffer(inbox);
    }
    const CAShapeLayer* circle() const
    {
        const auto& layers = m_view->layer().sublayers();
        return layers.empty() ? nullptr : dynamic_cast<const CAShapeLayer*>(layers.back().get());
    }
    const CATextLayer* number() const
    {
        return circle() ? dynamic_cast<const CATextLayer*>(circle()->sublayers().front().get()) : nullptr;
    }

    const TestPlatform m_platform {MainLoop::Host};
    const std::shared_ptr<UIView> m_view = std::make_shared<UIView>(CGRect {0, 0, 44, 44});
    UIBarButtonItem m_item {"bell", nullptr, {}};
};

TEST_F(BarBadgeTest, CountsUnreadEntriesAndFitsTwoDigits)
{
    setUnread(0);
    addBadgeCounter(m_item);
    EXPECT_EQ(circle(), nullptr);

    setUnread(9);
    addBadgeCounter(m_item);
    ASSERT_TRUE(number());
    EXPECT_EQ(number()->string(), "9");
    EXPECT_EQ(number()->frame(), (CGRect {33, 0, 8, 16}));
    EXPECT_EQ(circle()->path(), (CGPath {.ovalIn = {30, 0, 14, 14}}));
    EXPECT_EQ(circle()->fillColor(), UIColor::redColor());
    EXPECT_EQ(circle()->strokeColor(), UIColor::redColor());
    EXPECT_EQ(number()->foregroundColor(), UIColor::whiteColor());
    EXPECT_EQ(number()->fontSize(), 11);

    setUnread(12);
    addBadgeCounter(m_item);
    EXPECT_EQ(number()->frame(), (CGRect {31, 0, 12, 16}));
    EXPECT_EQ(m_view->layer().sublayers().size(), 1U) << "the badge before is gone";

    addBadge(m_item, 3, {.x = 2, .y = 5}, UIColor::blueColor(), false);
    EXPECT_EQ(circle()->path(), (CGPath {.ovalIn = {28, 5, 14, 14}}));
    EXPECT_EQ(circle()->fillColor(), UIColor::whiteColor());
    EXPECT_EQ(number()->foregroundColor(), UIColor::blueColor());
    EXPECT_EQ(number()->frame(), (CGRect {31, 5, 8, 16}));
}

TEST_F(BarBadgeTest, UpdatesTheNumberAloneAndShowsZero)
{
    setUnread(12);
    updateBadge(m_item);
    EXPECT_EQ(circle(), nullptr) << "there is none to update";

    addBadgeCounter(m_item);
    setUnread(0);
    updateBadge(m_item);
    EXPECT_EQ(number()->string(), "0");
    EXPECT_EQ(number()->frame().size.width, 12);

    removeBadge(m_item);
    EXPECT_EQ(circle(), nullptr);
    // The item still has its layer, so an update writes into what is not seen.
    updateBadge(m_item);
    EXPECT_EQ(circle(), nullptr);

    UIBarButtonItem withoutView {"bell", nullptr, {}};
    setUnread(1);
    addBadgeCounter(withoutView);
    updateBadge(withoutView);
    removeBadge(withoutView);
}

} // namespace
} // namespace kova
