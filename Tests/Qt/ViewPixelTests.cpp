// How single kinds of views are drawn. These run at several scale factors.

#include "KovaSDK/Extensions/UIView.h"
#include "Platform/UIKit/UIImageView.h"
#include "Tests/Qt/CentreWindow.h"

#include <gtest/gtest.h>

#include <QBuffer>

namespace kova::tests {

namespace {

const QColor white {255, 255, 255};
const QColor red {255, 0, 0};

/// A white screen with one view on it.
class ViewPixelTest : public testing::Test {
protected:
    void show(const std::shared_ptr<UIView>& view)
    {
        auto host = std::make_shared<UIViewController>();
        host->view()->setBackgroundColor(UIColor::whiteColor());
        host->view()->addSubview(view);
        centre.screen->presenter()->present(host, false);
        ASSERT_TRUE(centre.settle());
    }
    [[nodiscard]] QColor colorAt(QPointF point) { return CentreWindow::colorAt(centre.look("view"), point); }
    /// The pixels of an area given in points.
    [[nodiscard]] QImage pixels(QRectF area)
    {
        const auto image = centre.look("view");
        const double ratio = image.devicePixelRatio();
        return image.copy(QRectF {area.topLeft() * ratio, area.size() * ratio}.toRect());
    }

    CentreWindow centre {{390, 400}};
};

} // namespace

TEST_F(ViewPixelTest, TheBusyOverlayLiesOverAViewAndGoes)
{
    const auto box = std::make_shared<UIView>(CGRect {100, 100, 120, 120});
    box->setBackgroundColor(UIColor::whiteColor());
    show(box);
    const QPointF corner {110, 110};
    const QRectF wheel {141.5, 141.5, 37, 37};
    lock(*box);
    ASSERT_TRUE(centre.settle());
    const auto dimmed = colorAt(corner);
    EXPECT_EQ(dimmed, QColor(153, 153, 153));
    EXPECT_EQ(colorAt({99, 110}), white);

    // The wheel begins when the overlay is whole, and turns.
    const auto hasWheel = [&] {
        return CentreWindow::hasPixel(centre.look("view"), wheel, [](QColor color) { return color.lightness() > 230; });
    };
    ASSERT_TRUE(eventually(hasWheel));
    const auto before = pixels(wheel);
    EXPECT_TRUE(eventually([&] { return pixels(wheel) != before; }));
    EXPECT_EQ(colorAt(corner), dimmed);

    unlock(*box);
    EXPECT_TRUE(eventually([&] { return box->subviews().empty(); }));
    EXPECT_EQ(colorAt(corner), white);
}

TEST_F(ViewPixelTest, PicturesHaveTheirModeAndRoundCorners)
{
    QImage file {40, 20, QImage::Format_RGB32};
    file.fill(Qt::red);
    QBuffer buffer;
    file.save(&buffer, "PNG");
    const auto view = std::make_shared<UIImageView>();
    view->setFrame({100, 100, 80, 80});
    view->setImage(UIImage::create(Data {buffer.data().toStdString()}));
    show(view);
    struct Case {
        const char* name;
        UIViewContentMode mode;
        double cornerRadius;
        /// By how much the picture's upper left corner is inside of the view's.
        QPointF inset;
    };
    const Case cases[] {
        {"stretched", UIViewContentMode::scaleToFill, 0, {0, 0}},
        {"stretched, round", UIViewContentMode::scaleToFill, 20, {0, 0}},
        {"whole", UIViewContentMode::scaleAspectFit, 0, {0, 20}},
        {"whole, round where nothing of it is", UIViewContentMode::scaleAspectFit, 20, {0, 20}},
        {"filling, round", UIViewContentMode::scaleAspectFill, 20, {0, 0}},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        view->setContentMode(test.mode);
        view->layer().setCornerRadius(test.cornerRadius);
        view->setClipsToBounds(true);
        ASSERT_TRUE(centre.settle());
        EXPECT_EQ(colorAt({140, 140}), red);
        const QRectF seen
            = QRectF {100, 100, 80, 80}.adjusted(test.inset.x(), test.inset.y(), -test.inset.x(), -test.inset.y());
        const bool isRound = test.cornerRadius > 0 && test.inset.isNull();
        for (const QPointF side : {QPointF {-1, -1}, QPointF {1, -1}, QPointF {-1, 1}, QPointF {1, 1}}) {
            const auto inside = [&](double points) {
                return seen.center()
                    + QPointF {side.x() * (seen.width() / 2 - points), side.y() * (seen.height() / 2 - points)};
            };
            // The circle meets the diagonal 5.9 points from the corner.
            EXPECT_EQ(colorAt(inside(isRound ? 4 : -1.5)), white);
            EXPECT_EQ(colorAt(inside(isRound ? 7.5 : 1.5)), red);
        }
        EXPECT_EQ(colorAt({140, seen.top() + 1.5}), red);
        EXPECT_EQ(colorAt({140, seen.top() - 1.5}), white);
    }
}

} // namespace kova::tests
