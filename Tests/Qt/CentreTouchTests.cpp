// What a hand does to the centre: taps, swipes, throws.

#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "KovaSDK/Services/NotificationName.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/Qt/ViewItem_p.h"
#include "Platform/UIKit/UIAlertController.h"
#include "Tests/Qt/CentreWindow.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QStyleHints>
#include <algorithm>

namespace kova::tests {

namespace {

const QColor deleteColor {255, 59, 48};

int countItems(const QQuickItem& item)
{
    int count = dynamic_cast<const ViewItem*>(&item) ? 1 : 0;
    for (const auto* child : item.childItems())
        count += countItems(*child);
    return count;
}

/// How dark the darkest row is shaded.
double shadeIn(const QQuickItem& item)
{
    double shade = item.objectName() == QLatin1String {"shade"} ? item.opacity() : 0;
    for (const auto* child : item.childItems())
        shade = std::max(shade, shadeIn(*child));
    return shade;
}

} // namespace

// Rows that fit into the window, but not below the bar: they scroll, and begin below it all the same.
TEST(CentreTouchTest, BeginsBelowTheBar)
{
    for (const auto& [size, rows] : {std::pair {QSize {320, 568}, 7}, {QSize {375, 667}, 8}, {QSize {390, 844}, 10}}) {
        SCOPED_TRACE(rows);
        CentreWindow centre {size};
        centre.open(inboxOf(rows));
        EXPECT_EQ(centre.placeOfRow(0).top(), 44);
        centre.drag({160, 300}, {160, 200});
        EXPECT_EQ(centre.placeOfRow(rows - 1).bottom(), size.height());
    }
}

// Also where nothing else is drawn, so no picture is taken here.
TEST(CentreTouchTest, ShadesTheRowThatIsHeldDown)
{
    CentreWindow centre;
    centre.open(inboxOf(2));
    auto& hints = *QGuiApplication::styleHints();
    const int interval = hints.mousePressAndHoldInterval();
    hints.setMousePressAndHoldInterval(1);
    centre.press(centre.placeOfRow(0).center(), Hand::Finger);
    EXPECT_EQ(shadeIn(*centre.window.contentItem()), 0) << "a touch alone may begin a scroll";
    EXPECT_TRUE(eventually([&] { return shadeIn(*centre.window.contentItem()) > 0; }));
    centre.release();
    EXPECT_EQ(shadeIn(*centre.window.contentItem()), 0);
    EXPECT_TRUE(centre.settle());
    EXPECT_EQ(centre.stack().viewControllers().size(), 2U) << "held for long, and let go of";
    hints.setMousePressAndHoldInterval(interval);
}

TEST(CentreTouchTest, ShowsAnArrivalReadsAndDeletes)
{
    CentreWindow centre;
    centre.open(inboxOf(4));
    auto inbox = NotificationStorage::buffer();
    inbox.insert(inbox.begin(), inbox.front());
    inbox.front().title = "Chegou agora";
    NotificationStorage::setBuffer(inbox);
    NotificationCenter::default_().post({.name = NotificationName::didReceivedNotification});
    ASSERT_TRUE(centre.settle());
    static_cast<void>(centre.look("arrival"));
    centre.tapRow(2);
    ASSERT_EQ(centre.stack().viewControllers().size(), 2U);
    EXPECT_TRUE(NotificationStorage::buffer()[2].read);

    centre.tap(*centre.button("Apagar"));
    ASSERT_TRUE(dynamic_cast<UIAlertController*>(&centre.top()));
    // Beneath the alert nothing is reached.
    centre.tap({40, 20});
    centre.tap({200, 790});
    ASSERT_TRUE(dynamic_cast<UIAlertController*>(&centre.top()));
    centre.tap(*centre.button("Cancelar"));
    ASSERT_FALSE(dynamic_cast<UIAlertController*>(&centre.top()));

    centre.tap(*centre.button("Apagar"));
    centre.tap(*centre.button("Apagar"));
    EXPECT_EQ(centre.stack().viewControllers().size(), 1U);
    EXPECT_EQ(titles(), (std::vector<std::string> {"Chegou agora", "Aviso 0", "Aviso 2", "Aviso 3"}));
    EXPECT_EQ(centre.table().numberOfRows(), 4);

    centre.tap(*centre.button("OK"));
    EXPECT_EQ(centre.model().subviews().size(), 1U);
}

TEST(CentreTouchTest, LeavesTheHostItsInputUnlessItIsCovered)
{
    CentreWindow centre;
    QQmlEngine engine;
    QQmlComponent component {&engine};
    component.setData(R"(import QtQuick
        Item {
            property int areas: 0
            property int handlers: 0
            width: 390; height: 844
            MouseArea { width: 390; height: 400; onClicked: parent.areas++ }
            Item { y: 400; width: 390; height: 444; TapHandler { onTapped: parent.parent.handlers++ } }
        })",
        {});
    const std::unique_ptr<QObject> object {component.create()};
    auto* host = qobject_cast<QQuickItem*>(object.get());
    ASSERT_TRUE(host) << component.errorString().toStdString();
    host->setParentItem(centre.window.contentItem());
    const auto tapBoth = [&] {
        centre.tap({200, 350});
        centre.tap({200, 700});
        return std::pair {host->property("areas").toInt(), host->property("handlers").toInt()};
    };
    EXPECT_EQ(tapBoth(), std::pair(1, 1));
    centre.open(inboxOf(0));
    EXPECT_EQ(tapBoth(), std::pair(1, 1));
    centre.key(Qt::Key_Escape);
    EXPECT_EQ(tapBoth(), std::pair(2, 2));
}

TEST(CentreTouchTest, ScrollsThroughManyRowsWithFewItems)
{
    CentreWindow centre;
    centre.open(inboxOf(10000));
    const int atFirst = countItems(*centre.window.contentItem());
    EXPECT_LT(atFirst, 100);
    for (int throws = 0; throws < 5; ++throws)
        centre.drag({200, 750}, {200, 150});
    // Further than the hand went: the list goes on by itself.
    EXPECT_GT(centre.table().contentOffset().y, 5 * 600 + 200);
    EXPECT_LT(countItems(*centre.window.contentItem()), atFirst + 20);
    EXPECT_EQ(centre.table().subviews().size(), centre.table().indexPathsForVisibleRows().size());

    // A tap on the bar does not reach the row that lies beneath it.
    centre.tap({195, 22});
    EXPECT_EQ(centre.stack().viewControllers().size(), 1U);
    // And one on a row opens the row that is seen there.
    const auto row = centre.table().indexPathsForVisibleRows()[5].row;
    centre.tapRow(row);
    EXPECT_EQ(centre.stack().viewControllers().size(), 2U);
    EXPECT_TRUE(NotificationStorage::buffer()[static_cast<std::size_t>(row)].read);
}

TEST(CentreTouchTest, ComesBackFromBeyondItsEnds)
{
    CentreWindow centre;
    centre.open(inboxOf(3));
    centre.drag({200, 200}, {200, 500});
    EXPECT_DOUBLE_EQ(centre.table().contentOffset().y, -44);
    EXPECT_EQ(centre.placeOfRow(0), QRectF(0, 44, 390, 80));
}

TEST(CentreTouchTest, SwipesRowsAway)
{
    struct Case {
        const char* name;
        double distance;
        /// What is tapped afterwards, if anything.
        std::optional<QPointF> tapped;
        std::size_t remaining;
    };
    const double middle = 44 + 80 * 1.5;
    const Case cases[] {
        {"a little: it goes back", -30, {}, 3},
        {"the button shows", -120, {}, 3},
        {"the button is tapped", -120, QPointF {360, middle}, 2},
        {"the tap elsewhere only closes it", -120, QPointF {100, middle + 80}, 3},
        {"all the way", -300, {}, 2},
        {"to the right", 30, {}, 3},
    };
    for (const auto hand : {Hand::Mouse, Hand::Finger}) {
        for (const auto& test : cases) {
            SCOPED_TRACE(std::string {test.name} + (hand == Hand::Finger ? ", finger" : ", mouse"));
            CentreWindow centre;
            centre.open(inboxOf(3));
            const QPointF from {350, middle};
            centre.drag(from, from + QPointF {test.distance, 0}, hand);
            if (test.name == cases[1].name)
                static_cast<void>(centre.look("swipe"));
            if (test.tapped)
                centre.tap(*test.tapped);
            EXPECT_EQ(titles().size(), test.remaining);
            EXPECT_EQ(centre.table().numberOfRows(), static_cast<std::int64_t>(test.remaining));
            EXPECT_EQ(centre.stack().viewControllers().size(), 1U);
            if (test.remaining == 2) {
                EXPECT_EQ(titles(), (std::vector<std::string> {"Aviso 0", "Aviso 2"}));
            }
        }
    }
}

// The hand catches the list, and then moves a row.
TEST(CentreTouchTest, SwipesARowOfAListThatMoves)
{
    for (const auto hand : {Hand::Mouse, Hand::Finger}) {
        SCOPED_TRACE(hand == Hand::Finger ? "finger" : "mouse");
        CentreWindow centre;
        centre.open(inboxOf(30));
        centre.press({195, 700}, hand);
        centre.moveTo({195, 300});
        centre.release();
        const double letGo = centre.table().contentOffset().y;
        // A machine that is busy may see the hand stop first.
        ASSERT_TRUE(eventually([&] { return centre.table().contentOffset().y > letGo || centre.screen->isAtRest(); }));
        centre.drag({380, 400}, {260, 400}, hand);
        const QRectF right {380, 395, 10, 10};
        const auto isRed = [](QColor color) { return color == deleteColor; };
        EXPECT_TRUE(CentreWindow::hasPixel(centre.look("swiped-in-motion"), right, isRed));
        EXPECT_EQ(titles().size(), 30U);
    }
}

TEST(CentreTouchTest, DeletesNoRowWhenTheFingerIsTakenAway)
{
    CentreWindow centre;
    centre.open(inboxOf(3));
    centre.press({380, 84}, Hand::Finger);
    centre.moveTo({20, 84});
    centre.cancel();
    ASSERT_TRUE(centre.settle());
    EXPECT_EQ(titles().size(), 3U);
    EXPECT_EQ(CentreWindow::colorAt(centre.look("taken-away"), {385, 100}), QColor(255, 255, 255));
}

// The list leaves while the row still slides out, and comes back without it.
TEST(CentreTouchTest, LeavesNothingBehindOfARowThatWasOnItsWayOut)
{
    CentreWindow centre;
    centre.open(inboxOf(8));
    const auto row = centre.placeOfRow(3);
    centre.press({350, row.center().y()}, Hand::Finger);
    centre.moveTo({40, row.center().y()});
    centre.release();
    centre.tapRow(5);
    ASSERT_EQ(centre.stack().viewControllers().size(), 2U);
    centre.key(Qt::Key_Escape);
    const auto image = centre.look("came-back");
    EXPECT_FALSE(CentreWindow::hasPixel(image, row, [](QColor color) { return color == deleteColor; }));
    EXPECT_FALSE(centre.drawnText(QStringLiteral("Aviso 3")));
    EXPECT_EQ(titles().size(), 7U);
}

// The bar's button is the same one each time.
TEST(CentreTouchTest, HoldsNoButtonDownThatHasLeft)
{
    CentreWindow centre;
    centre.open(inboxOf(3));
    centre.tapRow(0);
    for (const auto hand : {Hand::Mouse, Hand::Finger}) {
        for (const bool isHeld : {false, true}) {
            SCOPED_TRACE(std::string {isHeld ? "left by a key while it is held" : "tapped"}
                + (hand == Hand::Finger ? ", finger" : ", mouse"));
            ASSERT_EQ(centre.stack().viewControllers().size(), 2U);
            centre.press(centre.place(*centre.button("Voltar")).center(), hand);
            EXPECT_TRUE(centre.button("Voltar")->isHighlighted());
            if (isHeld)
                centre.key(Qt::Key_Escape);
            centre.release();
            ASSERT_TRUE(centre.settle());
            centre.tapRow(1);
            EXPECT_FALSE(centre.button("Voltar")->isHighlighted());
        }
    }
}

} // namespace kova::tests
