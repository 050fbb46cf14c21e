// Qt's half of the platform: the main queue, texts, pictures; and screens in hosts of every kind.

#include "KovaSDK/Push/Central/CentralCoordinator.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/UIKit/UILabel.h"
#include "Tests/Qt/CentreWindow.h"

#include <gtest/gtest.h>

#include <QPushButton>
#include <QQuickItem>
#include <QQuickWidget>
#include <QTest>
#include <limits>
#include <thread>

namespace kova::tests {

TEST(QtPlatformTest, RunsTheMainQueueOnItsEventLoop)
{
    const TestPlatform platform {MainLoop::Host};
    std::vector<int> ran;
    DispatchQueue::main().async([&] { ran.push_back(0); });
    const QtPlatform qt;
    std::jthread {[&] {
        for (int number = 1; number <= 100; ++number)
            DispatchQueue::main().async([&ran, number] { ran.push_back(number); });
    }}.join();
    ASSERT_TRUE(eventually([&] { return ran.size() == 101; }));
    EXPECT_TRUE(std::ranges::is_sorted(ran));
    bool isLate = false;
    DispatchQueue::main().asyncAfter(std::chrono::milliseconds {20}, [&] { isLate = true; });
    EXPECT_TRUE(eventually([&] { return isLate; }));
}

TEST(QtPlatformTest, DrawsTextsInTheRoomTheyWereGiven)
{
    struct Case {
        const char* text;
        UIFont font;
        double width;
        int lines;
        bool isCut;
    };
    constexpr auto unlimited = std::numeric_limits<double>::infinity();
    const char* article = "Casacos, botas e cobertores com preços especiais até domingo, em todas as lojas e no site.";
    const Case cases[] {
        {"Abrir link", UIFont::systemFont(17), unlimited, 1, false},
        {"Ação! 🎉 Até já", UIFont::boldSystemFont(16), unlimited, 1, false},
        {article, UIFont::systemFont(18), 360, 0, false},
        {article, UIFont::systemFont(18), 360, 2, true},
        {article, UIFont::boldSystemFont(22), 360, 1, true},
        {"Donaudampfschifffahrtselektrizitätenhauptbetriebswerkbauunterbeamtengesellschaft", UIFont::systemFont(18),
            200, 0, false},
        {"uma\nduas\n\nquatro 📦", UIFont::systemFont(14), 300, 0, false},
        {"uma\nduas", UIFont::systemFont(14), 300, 1, true},
        {"<b>não é marcação</b> &amp;", UIFont::systemFont(14), unlimited, 1, false},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.text);
        CentreWindow centre;
        auto host = std::make_shared<UIViewController>();
        auto label = std::make_shared<UILabel>();
        label->setText(test.text);
        label->setFont(test.font);
        label->setNumberOfLines(test.lines);
        const auto size = label->sizeThatFits({.width = test.width, .height = unlimited});
        EXPECT_LE(size.width, test.width);
        label->setFrame({{10, 10}, size});
        host->view()->addSubview(label);
        centre.screen->presenter()->present(host, false);
        ASSERT_TRUE(centre.settle());
        const auto* text = centre.drawnText(QString::fromUtf8(test.text));
        ASSERT_TRUE(text);
        EXPECT_EQ(text->property("truncated").toBool(), test.isCut);
        EXPECT_LE(text->property("contentWidth").toDouble(), size.width + 0.01);
        EXPECT_NEAR(text->property("contentHeight").toDouble(), size.height, 1);
    }
}

TEST(QtPlatformTest, PutsTheCentreOverWidgets)
{
    const TestPlatform platform {MainLoop::Host};
    const QtPlatform qt;
    QWidget host;
    host.resize(390, 600);
    QPushButton button {"Loja", &host};
    button.setGeometry(0, 0, 390, 600);
    int clicks = 0;
    QObject::connect(&button, &QPushButton::clicked, [&] { ++clicks; });
    QtScreen screen {host};
    host.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&host));
    const auto click = [&] { QTest::mouseClick(host.childAt(200, 100), Qt::LeftButton, {}, {200, 100}); };
    click();
    EXPECT_EQ(clicks, 1);

    NotificationStorage::setBuffer(inboxOf(3));
    CentralCoordinator {screen.presenter()}.start();
    auto* quick = host.findChild<QQuickWidget*>();
    ASSERT_TRUE(quick);
    EXPECT_TRUE(quick->isVisible());
    EXPECT_EQ(quick->size(), host.size());
    host.resize(500, 700);
    EXPECT_EQ(quick->size(), host.size());
    const auto& model = *screen.presenter()->view()->window();
    ASSERT_TRUE(eventually([&] { return model.frame().size == CGSize {500, 700}; }));
    const auto shown = [&] { return quick->grabFramebuffer().pixelColor(317 + 110, 84) == QColor {0, 0, 255}; };
    EXPECT_TRUE(eventually(shown));
    click();
    EXPECT_TRUE(eventually([&] { return NotificationStorage::buffer()[0].read; }));
    EXPECT_EQ(clicks, 1);

    screen.presenter()->dismiss(true);
    ASSERT_TRUE(eventually([&] { return !quick->isVisible(); }));
    click();
    EXPECT_EQ(clicks, 2);
}

TEST(QtPlatformTest, EndsInAnyOrder)
{
    const auto openIn = [](QtScreen& screen) {
        NotificationStorage::setBuffer(inboxOf(3));
        CentralCoordinator {screen.presenter()}.start();
    };
    {
        CentreWindow centre;
        SCOPED_TRACE("in the midst of an animation");
        openIn(*centre.screen);
        centre.window.grabWindow();
        centre.screen.reset();
        QCoreApplication::processEvents();
        centre.window.grabWindow();
    }
    {
        CentreWindow centre;
        SCOPED_TRACE("the area first");
        auto area = std::make_unique<QQuickItem>(centre.window.contentItem());
        area->setSize({200, 300});
        QtScreen screen {*area};
        openIn(screen);
        centre.window.grabWindow();
        area.reset();
        EXPECT_EQ(screen.presenter()->presentedViewController(), nullptr);
        openIn(screen);
        centre.window.grabWindow();
    }
    {
        SCOPED_TRACE("two screens in one window");
        CentreWindow centre;
        QtScreen other {*centre.window.contentItem()};
        openIn(*centre.screen);
        openIn(other);
        ASSERT_TRUE(centre.settle());
        other.presenter()->dismiss(true);
        ASSERT_TRUE(centre.settle());
        EXPECT_TRUE(centre.screen->presenter()->presentedViewController());
    }
}

} // namespace kova::tests
