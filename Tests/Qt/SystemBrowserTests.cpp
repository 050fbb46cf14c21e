// Links where no engine shows their pages: the desktop opens them, and the centre says so.

#include "Tests/Qt/CentreWindow.h"
#include "Tests/Qt/DesktopRecorder.h"

#include <gtest/gtest.h>

namespace kova::tests {

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
        const auto isInk = [](QColor color) { return color.lightness() < 200; };
        EXPECT_TRUE(CentreWindow::hasPixel(centre.look("browser"), {0, 64, 390, 60}, isInk))
            << "it says what became of the page";
        if (auto* close = centre.button("OK")) {
            centre.tap(*close);
            EXPECT_EQ(centre.stack().viewControllers().size(), 2U);
        }
    }
}

} // namespace kova::tests
