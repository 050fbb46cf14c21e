// Hands on a list whose rows come, go and move meanwhile.

#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "KovaSDK/Services/NotificationName.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Tests/Qt/AnimationClock.h"
#include "Tests/Qt/CentreWindow.h"

#include <gtest/gtest.h>

#include <QQuickItem>
#include <QTest>
#include <algorithm>

namespace kova::tests {

namespace {

using Titles = std::vector<std::string>;

constexpr int lastMs = 300;
constexpr double fingerRight = 370;
constexpr double fingerLeft = 60;

/// More rows than the window shows, so that cells that leave are used again at once.
class CentreMovingRowsTest : public testing::Test {
protected:
    CentreMovingRowsTest()
    {
        centre.open(inboxOf(80));
        clock.emplace(centre);
    }

    void push()
    {
        auto inbox = NotificationStorage::buffer();
        KovaNotification arrived = inbox.front();
        arrived.title = "Chegou " + std::to_string(++m_arrivals);
        arrived.read = false;
        inbox.insert(inbox.begin(), arrived);
        NotificationStorage::setBuffer(inbox);
        NotificationCenter::default_().post({.name = NotificationName::didReceivedNotification});
    }

    /// Where a hand that aims at the row of a record finds it now, at the given distance from the left.
    [[nodiscard]] QPointF seen(const std::string& title, double x) const
    {
        const auto* text = centre.drawnText(QString::fromStdString(title));
        EXPECT_TRUE(text) << title;
        return text ? QPointF {x, text->mapToScene({0, text->height()}).y()} : QPointF {};
    }

    void dragAside(const std::string& title, double to)
    {
        centre.press(seen(title, fingerRight), Hand::Finger);
        centre.moveTo({to, seen(title, 0).y()});
    }
    void swipe(const std::string& title)
    {
        dragAside(title, fingerLeft);
        centre.release();
    }

    /// Everything is in its place again, and the list shows the inbox.
    void expectInbox(const Titles& expected)
    {
        clock->passAll();
        EXPECT_EQ(titles(), expected);
        EXPECT_EQ(centre.stack().viewControllers().size(), 1U);
        EXPECT_EQ(centre.table().numberOfRows(), static_cast<std::int64_t>(expected.size()));
        for (std::size_t row = 0; row < 9; ++row)
            EXPECT_EQ(seen(expected[row], 0).y(), seen(expected[0], 0).y() + 80.0 * static_cast<double>(row));
    }

    [[nodiscard]] static Titles without(Titles inbox, const Titles& gone)
    {
        std::erase_if(inbox, [&](const auto& title) { return std::ranges::find(gone, title) != gone.end(); });
        return inbox;
    }

    CentreWindow centre;
    std::optional<AnimationClock> clock;

private:
    int m_arrivals = 0;
};

} // namespace

TEST_F(CentreMovingRowsTest, DeletesTheSwipedRowWhateverArrivesAfterwards)
{
    for (int delay = 0; delay <= lastMs; delay += AnimationClock::stepMs) {
        SCOPED_TRACE(delay);
        const auto before = titles();
        // Also the first row and the last visible one.
        const auto& swiped = before[static_cast<std::size_t>(delay / AnimationClock::stepMs % 10)];
        swipe(swiped);
        EXPECT_EQ(titles(), without(before, {swiped})) << "when the finger lifts";
        clock->pass(delay);
        push();
        auto expected = without(before, {swiped});
        expected.insert(expected.begin(), titles().front());
        expectInbox(expected);
    }
}

TEST_F(CentreMovingRowsTest, DeletesTheSwipedRowWhateverArrivesMeanwhile)
{
    for (int delay = 0; delay <= lastMs; delay += 3 * AnimationClock::stepMs) {
        SCOPED_TRACE(delay);
        const auto before = titles();
        const auto& swiped = before[4];
        dragAside(swiped, fingerRight - 60);
        push();
        clock->pass(delay);
        centre.moveTo({fingerLeft, 400});
        centre.release();
        auto expected = without(before, {swiped});
        expected.insert(expected.begin(), titles().front());
        expectInbox(expected);
    }
}

// The push takes the row out of sight, and its cell shows what has arrived.
TEST_F(CentreMovingRowsTest, DeletesNoOtherRowThroughACellThatIsUsedAgain)
{
    const auto before = titles();
    dragAside(before[9], fingerRight - 60);
    push();
    clock->pass(AnimationClock::stepMs);
    centre.moveTo({fingerLeft, 800});
    centre.release();
    auto expected = before;
    expected.insert(expected.begin(), titles().front());
    expectInbox(expected);
}

TEST_F(CentreMovingRowsTest, DeletesRowsSwipedInQuickSuccession)
{
    for (const auto& rows :
        std::vector<std::vector<std::size_t>> {{4, 1}, {1, 4}, {0, 1}, {3, 2, 1}, {1, 2, 3}, {2, 0, 5}}) {
        SCOPED_TRACE(testing::PrintToString(rows));
        for (const int pause : {0, 10, 50, 100}) {
            SCOPED_TRACE(pause);
            const auto before = titles();
            Titles swiped;
            for (const auto row : rows) {
                swiped.push_back(before[row]);
                swipe(before[row]);
                clock->pass(pause);
            }
            expectInbox(without(before, swiped));
        }
    }
}

TEST_F(CentreMovingRowsTest, DeletesTheRowWhoseButtonIsTapped)
{
    for (int delay = 0; delay <= lastMs; delay += 3 * AnimationClock::stepMs) {
        SCOPED_TRACE(delay);
        const auto before = titles();
        const auto& opened = before[2];
        dragAside(opened, fingerRight - 110);
        centre.release();
        clock->passAll();
        push();
        auto expected = without(before, {opened});
        expected.insert(expected.begin(), titles().front());
        clock->pass(delay);
        QTest::mouseClick(&centre.window, Qt::LeftButton, {}, seen(opened, fingerRight).toPoint());
        expectInbox(expected);
    }
}

TEST_F(CentreMovingRowsTest, OpensTheRowThatIsSeenUnderTheFinger)
{
    for (int delay = 0; delay <= lastMs; delay += 3 * AnimationClock::stepMs) {
        SCOPED_TRACE(delay);
        const auto before = NotificationStorage::buffer();
        const auto row = static_cast<std::size_t>(delay / AnimationClock::stepMs % 8);
        push();
        clock->pass(delay);
        QTest::mouseClick(&centre.window, Qt::LeftButton, {}, seen(*before[row].title, 100).toPoint());
        clock->passAll();
        ASSERT_EQ(centre.stack().viewControllers().size(), 2U);
        const auto after = NotificationStorage::buffer();
        for (std::size_t index = 0; index < before.size(); ++index)
            EXPECT_EQ(after[index + 1].read, before[index].read || index == row) << index;
        QTest::keyClick(&centre.window, Qt::Key_Escape);
        clock->passAll();
    }
}

TEST_F(CentreMovingRowsTest, OpensNoRowThatSlidesInBeneathTheBar)
{
    push();
    clock->pass(100);
    QTest::mouseClick(&centre.window, Qt::LeftButton, {}, {195, 30});
    expectInbox(titles());
}

} // namespace kova::tests
