// Links where no engine shows their pages: the desktop opens them, and the centre says so.

#include "Tests/Qt/CentreWindow.h"
#include "Tests/Qt/DesktopRecorder.h"

#include <gtest/gtest.h>

namespace kova::tests {

namespace {

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

} // namespace

TEST(SystemBrowserTest, OpensLinksOnce)
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
