// What a hand does to the centre: taps, swipes, throws.

#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "KovaSDK/Services/NotificationName.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/Qt/ViewItem_p.h"
#include "Platform/UIKit/UIAlertController.h"
#include "Tests/Qt/CentreWindow.h"
#include "Tests/Qt/DesktopRecorder.h"

#include <gtest/gtest.h>

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QTest>

namespace kova::tests {

namespace {

std::vector<std::string> titles()
{
    std::vector<std::string> result;
    for (const auto& record : NotificationStorage::buffer())
        result.push_back(record.title.value_or(""));
    return result;
}

int countItems(const QQuickItem& item)
{
    int count = dynamic_cast<const ViewItem*>(&item) ? 1 : 0;
    for (const auto* child : item.childItems())
        count += countItems(*child);
    return count;
}

} // namespace

TEST(CentreTouchTest, OpensReadsAndDeletesARecord)
{
    CentreWindow centre;
    centre.open(inboxOf(5));
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
    EXPECT_EQ(titles(), (std::vector<std::string> {"Aviso 0", "Aviso 1", "Aviso 3", "Aviso 4"}));
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
        std::size_t screens = 1;
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
    for (const bool isTouch : {false, true}) {
        for (const auto& test : cases) {
            SCOPED_TRACE(std::string {test.name} + (isTouch ? ", finger" : ", mouse"));
            CentreWindow centre;
            centre.open(inboxOf(3));
            const QPointF from {350, middle};
            const auto to = from + QPointF {test.distance, 0};
            if (isTouch)
                centre.dragFinger(from, to);
            else
                centre.drag(from, to);
            if (test.name == cases[1].name)
                static_cast<void>(centre.look("swipe"));
            if (test.tapped)
                centre.tap(*test.tapped);
            EXPECT_EQ(titles().size(), test.remaining);
            EXPECT_EQ(centre.table().numberOfRows(), static_cast<std::int64_t>(test.remaining));
            EXPECT_EQ(centre.stack().viewControllers().size(), test.screens);
            if (test.remaining == 2) {
                EXPECT_EQ(titles(), (std::vector<std::string> {"Aviso 0", "Aviso 2"}));
            }
        }
    }
}

TEST(CentreTouchTest, GoesBackByADragFromTheEdge)
{
    CentreWindow centre;
    centre.open(inboxOf(3));
    centre.tapRow(0);
    ASSERT_EQ(centre.stack().viewControllers().size(), 2U);
    centre.drag({5, 400}, {40, 400});
    EXPECT_EQ(centre.stack().viewControllers().size(), 2U);
    centre.drag({5, 400}, {200, 400});
    EXPECT_EQ(centre.stack().viewControllers().size(), 1U);
    // At the root there is nothing to go back to.
    centre.drag({5, 400}, {200, 400});
    EXPECT_EQ(centre.model().subviews().size(), 2U);
}

TEST(CentreTouchTest, ShowsArrivalsAndDeletionsAtOnce)
{
    CentreWindow centre;
    centre.open(inboxOf(20));
    auto inbox = NotificationStorage::buffer();
    auto arrived = inbox.front();
    arrived.title = "Chegou agora";
    inbox.insert(inbox.begin(), arrived);
    NotificationStorage::setBuffer(inbox);
    NotificationCenter::default_().post({.name = NotificationName::didReceivedNotification});
    ASSERT_TRUE(centre.settle());
    EXPECT_EQ(centre.table().numberOfRows(), 21);
    static_cast<void>(centre.look("arrival"));
    centre.tapRow(0);
    EXPECT_EQ(centre.top().navigationController()->viewControllers().size(), 2U);
    EXPECT_TRUE(NotificationStorage::buffer()[0].read);
}

// Whether something is drawn on white in an area given in points.
bool hasInk(const QImage& image, const QRect& area)
{
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (CentreWindow::colorAt(image, QPoint {x, y}).lightness() < 200)
                return true;
        }
    }
    return false;
}

TEST(CentreTouchTest, OpensLinksInTheBrowserOnce)
{
    struct Case {
        const char* link;
        std::size_t opened;
    };
    const Case cases[] {
        {"https://loja.example/a?b=c", 1},
        {"http://loja.example/", 1},
        {"file:///etc/passwd#https://", 0},
        {"javascript:alert('http://')", 0},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.link);
        CentreWindow centre;
        auto inbox = inboxOf(1);
        inbox[0].launchURL = test.link;
        centre.open(inbox);
        centre.tapRow(0);
        auto* button = centre.button("Abrir link");
        ASSERT_TRUE(button);
        const DesktopRecorder desktop;
        centre.tap(*button);
        EXPECT_EQ(desktop.opened.size(), test.opened);
        EXPECT_TRUE(hasInk(centre.look("browser"), {0, 64, 390, 60})) << "it says what became of the page";
        if (auto* close = centre.button("OK")) {
            centre.tap(*close);
            EXPECT_EQ(centre.stack().viewControllers().size(), 2U);
        }
    }
}

} // namespace kova::tests
