// Links where no engine shows their pages: the desktop opens them, and the centre says so.

#include "Tests/Qt/CentreWindow.h"
#include "Tests/Qt/DesktopRecorder.h"

#include <gtest/gtest.h>

#include <QQuickItem>
#include <algorithm>

namespace kova::tests {

namespace {

bool says(const QQuickItem& item, const QString& text)
{
    return item.property("text").toString() == text
        || std::ranges::any_of(item.childItems(), [&](const auto* child) { return says(*child, text); });
}

} // namespace

// The desktop that Qt draws in memory has no browser.
TEST(SystemBrowserTest, SaysWhenThereIsNone)
{
    CentreWindow centre;
    auto inbox = inboxOf(1);
    inbox[0].launchURL = "https://loja.example/a";
    centre.open(inbox);
    centre.tapRow(0);
    centre.tap(*centre.button("Abrir link"));
    EXPECT_TRUE(says(*centre.window.contentItem(), "Este endereço não pode ser aberto."));
}

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
        EXPECT_EQ(says(*centre.window.contentItem(), "A página foi aberta no navegador."), test.opened > 0);
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
