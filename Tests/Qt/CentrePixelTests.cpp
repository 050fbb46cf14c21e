// What is seen where a number is contract. These run at several scale factors.

#include "KovaSDK/Extensions/UIBarButtonItem.h"
#include "KovaSDK/Push/Central/CentralButton.h"
#include "KovaSDK/Push/Central/CentralLayout.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Tests/Qt/CentreWindow.h"
#include "Tests/Qt/DesktopRecorder.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <utility>

namespace kova::tests {

namespace {

const QColor white {255, 255, 255};
const QColor red {255, 0, 0};

/// Whether a disc of that radius is there, as round as the pixels of the screen allow. Where a text stands on it only
/// its lower edge is looked at from inside.
void expectDisc(const QImage& image, QPointF centre, double radius, QColor color, bool bearsText = false)
{
    const double tolerance = 1.8 / image.devicePixelRatio();
    for (int step = 0; step < 32; ++step) {
        const double angle = step * std::numbers::pi / 16;
        const QPointF direction {std::cos(angle), std::sin(angle)};
        if (!bearsText || direction.y() > 0.7) {
            EXPECT_EQ(CentreWindow::colorAt(image, centre + direction * (radius - tolerance)), color)
                << "inside, at step " << step;
        }
        const auto outside = centre + direction * (radius + tolerance);
        if (outside.x() < image.deviceIndependentSize().width() && outside.y() > 0) {
            EXPECT_NE(CentreWindow::colorAt(image, outside), color) << "outside, at step " << step;
        }
    }
}

} // namespace

TEST(CentrePixelTest, ListIsAsTheNumbersSay)
{
    const QColor cell {230, 240, 255};
    const QColor green {0, 153, 0};
    auto& layout = CentralLayout::default_();
    const auto cellBefore = std::exchange(layout.backgroundCellColor, {230 / 255.0, 240 / 255.0, 1, 1});
    const auto barBefore = std::exchange(layout.navColor, {0.2, 0, 0.4, 1});
    const auto markerBefore = std::exchange(layout.unreadMarkerColor, {0, 0.6, 0, 1});
    CentreWindow centre;
    centre.open(sampleInbox());
    const auto image = centre.look("list-restyled");
    layout.backgroundCellColor = cellBefore;
    layout.navColor = barBefore;
    layout.unreadMarkerColor = markerBefore;
    // Six rows of 80 points beneath a bar of 44, and white beneath them.
    EXPECT_EQ(CentreWindow::colorAt(image, {60, 5}), QColor(51, 0, 102));
    EXPECT_EQ(CentreWindow::colorAt(image, {5, 46}), cell);
    EXPECT_EQ(CentreWindow::colorAt(image, {5, 44 + 480 - 1}), cell);
    EXPECT_EQ(CentreWindow::colorAt(image, {5, 44 + 480 + 1}), white);
    // The marker: 15 points, 15 left of a thumbnail of 40 that ends 10 before the edge.
    const QPointF marker {390 - 10 - 40 - 15 - 7.5, 44 + 20 + 20};
    expectDisc(image, marker, 7.5, green);
    EXPECT_EQ(CentreWindow::colorAt(image, marker), green);
    // None on the third row, which has been read.
    EXPECT_EQ(CentreWindow::colorAt(image, marker + QPointF {0, 160}), cell);
}

// Beside a wheel that turns without end, for a picture that cannot come.
TEST(CentrePixelTest, WhatHasLeftLeavesNothingBehind)
{
    const DesktopRecorder desktop;
    CentreWindow centre;
    auto inbox = inboxOf(1);
    inbox[0].launchURL = "https://loja.example/a";
    inbox[0].att = "";
    centre.open(inbox);
    centre.tapRow(0);
    const auto besideTheWheel = [&centre](const char* name) {
        const auto image = centre.look(name);
        return image.copy(0, 0, image.width() / 3, image.height());
    };
    const auto before = besideTheWheel("detail");
    for (int round = 0; round < 6; ++round) {
        centre.tap(*centre.button("Abrir link"));
        centre.tap(*centre.button("OK"));
        ASSERT_EQ(besideTheWheel("detail-again"), before) << "round " << round;
    }
}

TEST(CentrePixelTest, BadgesAreRound)
{
    CentreWindow centre;
    NotificationStorage::setBuffer(inboxOf(12));
    auto host = std::make_shared<UIViewController>();
    host->setTitle("Loja");
    auto button = std::make_shared<CentralButton>(CGRect {100, 200, 120, 50});
    button->setTitle("Central", UIControlState::normal);
    button->setTitleColor(UIColor::blueColor(), UIControlState::normal);
    button->setBackgroundColor(UIColor {0.9, 0.9, 0.95, 1});
    button->layer().setCornerRadius(10);
    button->setBadge("3");
    host->view()->addSubview(button);
    host->view()->setBackgroundColor(UIColor::whiteColor());
    auto item = std::make_shared<UIBarButtonItem>("Avisos", host.get(), [] { });
    host->navigationItem().setRightBarButtonItem(item);
    centre.screen->presenter()->present(std::make_shared<UINavigationController>(host), true);
    ASSERT_TRUE(centre.settle());
    addBadgeCounter(*item);
    ASSERT_TRUE(centre.settle());
    const auto image = centre.look("badge");
    const auto view = std::dynamic_pointer_cast<UIView>(item->value("view"));
    ASSERT_TRUE(view);
    const auto onBar = centre.place(*view);
    expectDisc(image, {onBar.right() - 7, onBar.top() + 7}, 7, red, true);
    // One character: as wide as high, with its centre on the button's corner.
    const auto badge = centre.place(*button->badgeLabel);
    EXPECT_EQ(badge.width(), badge.height());
    expectDisc(image, badge.center(), badge.width() / 2, red, true);
    EXPECT_LT((badge.center() - QPointF {220, 200}).manhattanLength(), 1);
}

} // namespace kova::tests
