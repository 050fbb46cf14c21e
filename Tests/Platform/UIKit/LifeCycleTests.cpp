#include "Platform/UIKit/SFSafariViewController.h"
#include "Platform/UIKit/UIAlertController.h"
#include "Tests/Platform/UIKit/LoggedScreen.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kova::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Style = UIModalPresentationStyle;

struct LifeCycleTest : testing::Test {
    LifeLog log;
    MoveLog moves {log};
    std::shared_ptr<LoggedScreen> host = screen("host");
    std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGRect {0, 0, 390, 844});

    LifeCycleTest()
    {
        window->setObserver(&moves);
        window->setRootViewController(host);
        log.lines.clear();
    }
    ~LifeCycleTest() override { window->setObserver(nullptr); }

    std::shared_ptr<LoggedScreen> screen(const std::string& name, Style style = Style::automatic)
    {
        auto made = std::make_shared<LoggedScreen>(log, name);
        made->setModalPresentationStyle(style);
        return made;
    }
    std::shared_ptr<LoggedStack> stack(const std::string& name, std::shared_ptr<UIViewController> root)
    {
        return std::make_shared<LoggedStack>(log, name, std::move(root));
    }
    /// A stack "nav" over the host, with these screens; the log is empty afterwards.
    std::shared_ptr<LoggedStack> presentStack(const std::vector<std::string>& names)
    {
        auto nav = stack("nav", screen(names.front()));
        host->present(nav, false);
        for (std::size_t index = 1; index < names.size(); ++index)
            nav->pushViewController(screen(names[index]), false);
        log.lines.clear();
        return nav;
    }
    std::vector<UIView*> windowViews() const
    {
        std::vector<UIView*> views;
        for (const auto& view : window->subviews())
            views.push_back(view.get());
        return views;
    }
};

TEST_F(LifeCycleTest, TheOneBeneathLeavesOnlyWhenItIsCovered)
{
    for (const auto style : {Style::automatic, Style::pageSheet, Style::fullScreen, Style::overCurrentContext}) {
        SCOPED_TRACE(static_cast<int>(style));
        const bool covers = style == Style::fullScreen;
        const auto over = screen("over", style);
        over->loadViewIfNeeded();
        log.lines.clear();
        host->present(over, true, [this] { log.write("completion"); });
        EXPECT_EQ(log.take(),
            covers ? "host willDisappear, over willAppear, Present host > over, host didDisappear, over didAppear, "
                     "completion"
                   : "over willAppear, Present host > over, over didAppear, completion");
        EXPECT_EQ(over->presentingViewController(), host.get());
        EXPECT_EQ(host->isOnScreen(), !covers);
        EXPECT_EQ(window->topViewController(), over.get());
        EXPECT_THAT(windowViews(),
            covers ? std::vector {over->view().get()} : std::vector({host->view().get(), over->view().get()}));

        over->dismiss(true, [this] { log.write("completion"); });
        EXPECT_EQ(log.take(),
            covers ? "over willDisappear, host willAppear, Dismiss over > host, over didDisappear, host didAppear, "
                     "completion"
                   : "over willDisappear, Dismiss over > host, over didDisappear, completion");
        EXPECT_EQ(over->presentingViewController(), nullptr);
        EXPECT_EQ(host->presentedViewController(), nullptr);
        EXPECT_THAT(windowViews(), ElementsAre(host->view().get()));
    }
}

TEST_F(LifeCycleTest, PushAndPopExchangeTheTopmost)
{
    const auto nav = presentStack({"list"});
    nav->pushViewController(screen("detail"), true);
    EXPECT_EQ(log.take(),
        "detail loadView, detail didLoad, list willDisappear, detail willAppear, Push list > detail, list "
        "didDisappear, detail didAppear");
    nav->pushViewController(screen("more"), true);
    log.lines.clear();
    nav->popViewController(true);
    EXPECT_EQ(log.take(),
        "more willDisappear, detail willAppear, Pop more > detail, more didDisappear, detail didAppear, more gone");
    nav->popViewController(true);
    log.lines.clear();
    nav->popViewController(true);
    nav->popToRootViewController(true);
    EXPECT_EQ(log.take(), "") << "at the root nothing is left to pop";
}

TEST_F(LifeCycleTest, ARevealedScreenIsSeenAndHearsNothing)
{
    const auto nav = presentStack({"list"});
    EXPECT_EQ(nav->revealPrevious(), nullptr) << "nothing lies beneath the root";
    const auto list = nav->viewControllers().front();
    const auto detail = screen("detail");
    nav->pushViewController(detail, false);
    log.lines.clear();
    window->setFrame({0, 0, 844, 390});
    EXPECT_EQ(nav->revealPrevious(), list.get());
    window->layoutIfNeeded();
    const auto views = [&] { return nav->view()->subviews(); };
    EXPECT_THAT(views(), ElementsAre(list->view(), detail->view(), testing::_)) << "the bar is in front";
    EXPECT_EQ(list->view()->frame(), detail->view()->frame());
    nav->concealPrevious();
    EXPECT_THAT(views(), ElementsAre(detail->view(), testing::_));
    EXPECT_EQ(log.take(), "");

    nav->revealPrevious();
    nav->popViewController(false);
    EXPECT_THAT(views(), ElementsAre(list->view(), testing::_));
    EXPECT_EQ(
        log.take(), "detail willDisappear, list willAppear, Pop detail > list, detail didDisappear, list didAppear");
}

TEST_F(LifeCycleTest, AStackThatIsNotSeenChangesSilentlyAndLoadsOnFirstNeed)
{
    const auto nav = stack("nav", screen("list"));
    nav->pushViewController(screen("detail"), true);
    EXPECT_EQ(log.take(), "");
    nav->popViewController(true);
    EXPECT_EQ(log.take(), "detail gone");
    nav->pushViewController(screen("other"), true);
    host->present(nav, true);
    EXPECT_EQ(log.take(),
        "nav loadView, nav didLoad, other loadView, other didLoad, nav willAppear, other willAppear, Present host > "
        "other, nav didAppear, other didAppear");
    host->dismiss(true);
    log.lines.clear();
    host->present(nav, true);
    EXPECT_EQ(log.take(), "nav willAppear, other willAppear, Present host > other, nav didAppear, other didAppear");
}

TEST_F(LifeCycleTest, AScreenInAStackPresentsFromTheStack)
{
    const auto nav = presentStack({"list", "detail"});
    auto& detail = nav->topViewController();
    const auto browser = screen("browser", Style::overCurrentContext);
    detail.present(browser, true);
    EXPECT_EQ(browser->presentingViewController(), nav.get());
    EXPECT_EQ(window->topViewController(), browser.get());
    EXPECT_TRUE(detail.isOnScreen());
    log.lines.clear();
    detail.dismiss(true);
    EXPECT_EQ(log.take(), "browser willDisappear, Dismiss browser > detail, browser didDisappear")
        << "the first dismissal closes what the stack presents";
    detail.dismiss(true);
    EXPECT_EQ(log.take(),
        "nav willDisappear, detail willDisappear, Dismiss detail > host, nav didDisappear, detail didDisappear")
        << "the second closes the stack";
    EXPECT_EQ(host->presentedViewController(), nullptr);
}

TEST_F(LifeCycleTest, ADismissalClosesAllThatLiesAbove)
{
    std::vector<std::weak_ptr<UIViewController>> above;
    UIViewController* presenter = host.get();
    for (const auto* name : {"a", "b", "c"}) {
        const auto next = screen(name);
        above.push_back(next);
        presenter->present(next, false);
        presenter = next.get();
    }
    log.lines.clear();
    host->dismiss(true);
    EXPECT_EQ(log.take(),
        "c willDisappear, b willDisappear, a willDisappear, Dismiss c > host, c didDisappear, b didDisappear, a "
        "didDisappear, a gone, b gone, c gone");
    for (const auto& screen : above)
        EXPECT_TRUE(screen.expired());
    host->dismiss(true, [] { ADD_FAILURE() << "nothing was closed"; });
    EXPECT_EQ(log.take(), "");
}

TEST_F(LifeCycleTest, AWindowThatLosesItsRootOrGoesTakesItsScreensOff)
{
    presentStack({"list", "detail"});
    window->setRootViewController(nullptr);
    EXPECT_EQ(log.take(),
        "nav willDisappear, detail willDisappear, Dismiss detail > host, nav didDisappear, detail didDisappear, nav "
        "gone, list gone, detail gone, host willDisappear, host didDisappear");
    EXPECT_THAT(windowViews(), IsEmpty());

    window->setRootViewController(host);
    presentStack({"list"});
    window->setObserver(nullptr);
    window.reset();
    EXPECT_EQ(log.take(),
        "nav willDisappear, list willDisappear, nav didDisappear, list didDisappear, nav gone, list gone, host "
        "willDisappear, host didDisappear");
    window = std::make_shared<UIWindow>(CGRect {});
}

TEST_F(LifeCycleTest, APresenterWithoutAWindowKeepsTheScreenForLater)
{
    const auto other = screen("other");
    other->present(screen("over"), true);
    EXPECT_EQ(log.take(), "");
    ASSERT_NE(other->presentedViewController(), nullptr);
    window->setRootViewController(other);
    EXPECT_EQ(log.take(),
        "over loadView, over didLoad, other loadView, other didLoad, host willDisappear, over willAppear, other "
        "willAppear, host didDisappear, over didAppear, other didAppear");
}

TEST_F(LifeCycleTest, PresentingTwiceIsRefusedAndSaidOnce)
{
    const auto first = screen("first");
    host->present(first, true);
    log.lines.clear();
    testing::internal::CaptureStderr();
    host->present(screen("second"), true, [] { ADD_FAILURE() << "nothing was presented"; });
    host->present(first, true);
    EXPECT_EQ(log.take(), "second gone");
    EXPECT_EQ(std::ranges::count(testing::internal::GetCapturedStderr(), '\n'), 1);
    EXPECT_EQ(host->presentedViewController(), first);
}

TEST_F(LifeCycleTest, AnAlertIsAnsweredOnce)
{
    const auto nav = presentStack({"list", "detail"});
    auto alert = std::make_shared<UIAlertController>("Aviso", "Apagar?", UIAlertControllerStyle::alert);
    alert->addAction({.title = "Apagar", .handler = [&] {
                          log.write("deleted");
                          nav->popToRootViewController(true);
                      }});
    alert->addAction({.title = "Cancelar", .style = UIAlertActionStyle::cancel});
    nav->topViewController().present(alert, true);
    EXPECT_EQ(log.take(), "Present detail > Aviso");
    alert->userChooses(7);
    EXPECT_NE(alert->presentingViewController(), nullptr);
    alert->userChooses(0);
    EXPECT_EQ(log.take(),
        "Dismiss Aviso > detail, deleted, detail willDisappear, list willAppear, Pop detail > list, detail "
        "didDisappear, list didAppear, detail gone");
    alert->userChooses(0);
    EXPECT_EQ(log.take(), "") << "a second press on a closing alert does nothing";
    nav->topViewController().present(alert, true);
    alert->userChooses(1);
    EXPECT_EQ(log.take(), "Present list > Aviso, Dismiss Aviso > list");
    const std::weak_ptr<UIAlertController> released = std::exchange(alert, nullptr);
    EXPECT_TRUE(released.expired());
}

TEST_F(LifeCycleTest, CallsComeInPairsWhateverAHandlerDoes)
{
    struct Case {
        /// The line after which the handler runs.
        const char* line;
        void (*handle)(LifeCycleTest& test, UINavigationController& nav);
        const char* expected;
    };
    const auto close = [](LifeCycleTest&, UINavigationController& nav) { nav.dismiss(true); };
    const Case cases[] {
        {"detail willDisappear", [](LifeCycleTest&, UINavigationController& nav) { nav.popViewController(true); },
            "detail willDisappear, list willAppear, Pop detail > list, detail didDisappear, list didAppear, detail "
            "gone"},
        {"list willAppear",
            [](LifeCycleTest& test, UINavigationController& nav) {
                nav.pushViewController(test.screen("other"), true);
            },
            "detail willDisappear, list willAppear, other loadView, other didLoad, list willDisappear, other "
            "willAppear, Push list > other, list didDisappear, other didAppear, Pop detail > other, detail "
            "didDisappear, detail gone"},
        {"list didAppear", close,
            "detail willDisappear, list willAppear, Pop detail > list, detail didDisappear, list didAppear, nav "
            "willDisappear, list willDisappear, Dismiss list > host, nav didDisappear, list didDisappear, detail gone"},
        {"detail willDisappear", close,
            "detail willDisappear, nav willDisappear, Dismiss list > host, nav didDisappear, detail didDisappear, "
            "detail gone"},
    };
    for (const auto& [line, handle, expected] : cases) {
        SCOPED_TRACE(line);
        const auto nav = presentStack({"list", "detail"});
        log.handlers[line] = [&] { handle(*this, *nav); };
        nav->popViewController(true);
        EXPECT_EQ(log.take(), expected);
        window->layoutIfNeeded();
        host->dismiss(false);
    }
}

} // namespace
} // namespace kova::tests
