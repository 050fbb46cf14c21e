// Back by a drag from the left edge: the screen follows the hand, and only at the end it is decided.

#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/UIKit/UIAlertController.h"
#include "Tests/Qt/CentreWindow.h"

#include <gtest/gtest.h>

namespace kova::tests {

namespace {

constexpr double edge = 5;
const QColor listColor {255, 255, 255};
const QColor detailColor {250, 250, 250};

/// The centre with the detail of one of its records open.
class CentreBackSwipeTest : public testing::Test {
protected:
    CentreBackSwipeTest()
    {
        centre.open(inboxOf(3));
        openDetail();
    }

    void openDetail()
    {
        centre.tapRow(0);
        ASSERT_EQ(depth(), 2U);
    }
    [[nodiscard]] std::size_t depth() const { return centre.stack().viewControllers().size(); }

    /// Whether the detail's left side is at so many points, with the list on its left.
    void expectDetailAt(double x)
    {
        ASSERT_TRUE(centre.settle());
        const auto image = centre.look("back-swipe");
        EXPECT_EQ(CentreWindow::colorAt(image, {x + 10, 700}), detailColor);
        if (x > 10) {
            EXPECT_EQ(CentreWindow::colorAt(image, {x - 10, 700}), listColor);
        }
    }

    CentreWindow centre;
};

} // namespace

TEST_F(CentreBackSwipeTest, FollowsTheHandAndDecidesAtTheEnd)
{
    struct Case {
        const char* name;
        std::vector<double> path;
        bool goesBack;
    };
    const Case cases[] {
        {"less than half", {160}, false},
        {"more than half", {240}, true},
        {"far", {340}, true},
        {"far, and returned", {340, 120}, false},
    };
    for (const auto hand : {Hand::Mouse, Hand::Finger}) {
        for (const auto& test : cases) {
            SCOPED_TRACE(std::string {test.name} + (hand == Hand::Finger ? ", finger" : ", mouse"));
            if (depth() == 1)
                openDetail();
            centre.press({edge, 400}, hand);
            for (const double x : test.path)
                centre.moveTo({x, 400});
            expectDetailAt(test.path.back() - edge);
            EXPECT_EQ(depth(), 2U) << "nothing is settled yet";
            centre.release();
            if (test.goesBack) {
                ASSERT_TRUE(centre.settle());
                EXPECT_EQ(depth(), 1U);
                EXPECT_EQ(CentreWindow::colorAt(centre.look("back"), {20, 700}), listColor);
            } else {
                expectDetailAt(0);
                EXPECT_EQ(depth(), 2U);
                EXPECT_EQ(centre.table().window(), nullptr) << "the list is out of sight again";
            }
        }
    }
    // What remains is whole: bar, buttons and rows work.
    ASSERT_EQ(depth(), 2U);
    centre.tap(*centre.button("Apagar"));
    centre.tap(*centre.button("Cancelar"));
    centre.tap(*centre.button("Voltar"));
    centre.tapRow(2);
    EXPECT_TRUE(NotificationStorage::buffer()[2].read);
}

TEST_F(CentreBackSwipeTest, LeavesTheRootWhereItIs)
{
    centre.drag({edge, 400}, {385, 400}, Hand::Finger);
    ASSERT_EQ(depth(), 1U);
    centre.drag({edge, 400}, {385, 400}, Hand::Finger);
    EXPECT_EQ(centre.model().subviews().size(), 2U);
    EXPECT_EQ(CentreWindow::colorAt(centre.look("root"), {20, 700}), listColor);
    openDetail();
}

TEST_F(CentreBackSwipeTest, ComesBackWhenTheFingerIsTakenAway)
{
    centre.press({edge, 400}, Hand::Finger);
    centre.moveTo({350, 400});
    centre.cancel();
    expectDetailAt(0);
    EXPECT_EQ(depth(), 2U);
    EXPECT_EQ(centre.table().window(), nullptr);
}

TEST_F(CentreBackSwipeTest, EndsWhenTheScreensChangeMeanwhile)
{
    const auto& list = centre.table();
    const auto dragOut = [&] {
        centre.press({edge, 400}, Hand::Finger);
        centre.moveTo({200, 400});
        expectDetailAt(200 - edge);
    };
    {
        SCOPED_TRACE("something is presented");
        dragOut();
        auto alert = std::make_shared<UIAlertController>("Aviso", "Chegou agora", UIAlertControllerStyle::alert);
        alert->addAction({.title = "OK", .style = UIAlertActionStyle::cancel});
        centre.top().present(alert, true);
        ASSERT_TRUE(centre.settle());
        EXPECT_EQ(list.window(), nullptr);
        centre.moveTo({380, 400});
        centre.release();
        ASSERT_TRUE(centre.settle());
        EXPECT_EQ(&centre.top(), alert.get());
        centre.key(Qt::Key_Escape);
        expectDetailAt(0);
    }
    {
        SCOPED_TRACE("popped by a key");
        dragOut();
        centre.key(Qt::Key_Escape);
        EXPECT_EQ(depth(), 1U);
        centre.moveTo({100, 400});
        centre.release();
        ASSERT_TRUE(centre.settle());
        openDetail();
    }
    {
        SCOPED_TRACE("closed");
        dragOut();
        centre.screen->presenter()->dismiss(true);
        ASSERT_TRUE(centre.settle());
        centre.release();
        ASSERT_TRUE(centre.settle());
        EXPECT_EQ(centre.model().subviews().size(), 1U);
    }
}

} // namespace kova::tests
