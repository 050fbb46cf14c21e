#include "Platform/UIKit/SFSafariViewController.h"
#include "Platform/UIKit/UIAlertController.h"
#include "Tests/KovaSDK/Central/CentreFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace kova {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using tests::Centre;
using tests::record;
using tests::TestPlatform;
using Titles = std::vector<std::string>;

TEST(CentreTest, OpensOverAFreshCopyOfTheInboxEachTime)
{
    const TestPlatform platform {MainLoop::Host};
    Centre centre;
    centre.open();
    const auto list = centre.list();
    ASSERT_TRUE(list);
    EXPECT_THAT(centre.shown(), IsEmpty());
    EXPECT_EQ(list->modalPresentationStyle(), UIModalPresentationStyle::overCurrentContext);
    EXPECT_EQ(list->preferredStatusBarStyle(), UIStatusBarStyle::lightContent);
    EXPECT_EQ(list->navigationController()->title(), "Central de Notificações");
    EXPECT_EQ(list->navigationController()->navigationBar().shownTitle(), "Central de Notificações");
    EXPECT_EQ(centre.host->presentedViewController().get(), list->navigationController());
    EXPECT_TRUE(centre.host->isOnScreen());
    EXPECT_THAT(platform.log.lines(), ElementsAre("Notifications: 0"));

    list->navigationItem().leftBarButtonItem()->sendAction();
    EXPECT_FALSE(centre.host->presentedViewController());
    NotificationStorage::setBuffer({record("a")});
    centre.open();
    EXPECT_THAT(centre.shown(), ElementsAre("a"));
}

// Each step of a user's way, and what store, view model, rows and log say after it.
TEST(CentreTest, StoreModelAndRowsStayInStepAllAlongTheRoad)
{
    TestPlatform platform {MainLoop::Host};
    Centre centre {{record("c"), record("b"), record("a")}};
    centre.open();
    const auto list = centre.list();
    const auto expect = [&](const char* step, const Titles& store, const Titles& model, const Titles& lines) {
        EXPECT_EQ(Centre::stored(), store) << step;
        EXPECT_EQ(Centre::titles(list->viewModel->notifications), model) << step;
        EXPECT_EQ(platform.log.takeLines(), lines) << step;
    };
    expect("open", {"c", "b", "a"}, {"c", "b", "a"}, {"Notifications: 3"});

    const auto unread = centre.cell(1);
    centre.select(1);
    expect("select row 1", {"c", "(b)", "a"}, {"c", "(b)", "a"}, {"Notifications: 3"});
    ASSERT_TRUE(centre.detail());
    EXPECT_EQ(centre.detail()->index, 1);
    EXPECT_FALSE(centre.detail()->notification.read) << "the copy is from before it was marked";

    Centre::arrives(record("d"));
    centre.layOut();
    expect("a push while the detail is up", {"d", "c", "(b)", "a"}, {"c", "(b)", "a"}, {});

    centre.detail()->navigationController()->popViewController(true);
    centre.layOut();
    EXPECT_THAT(centre.shown(), ElementsAre("c", "b", "a"));
    EXPECT_NE(centre.cell(1), unread) << "the row was reloaded";
    EXPECT_TRUE(centre.cell(1)->unreadView->isHidden());
    expect("back", {"d", "c", "(b)", "a"}, {"c", "(b)", "a"}, {});

    // Store and view model are out of step by the push above; both lose the element at the index.
    centre.table().userDeletesRow({.row = 0});
    centre.layOut();
    expect("swipe row 0", {"c", "(b)", "a"}, {"(b)", "a"}, {"Notifications: 2"});
    EXPECT_THAT(centre.shown(), ElementsAre("b", "a"));

    Centre::arrives(record("e"));
    centre.layOut();
    expect("a push while the list is up", {"e", "c", "(b)", "a"}, {"e", "(b)", "a"}, {"Notifications: 3"});
    EXPECT_THAT(centre.shown(), ElementsAre("e", "b", "a"));

    centre.select(2);
    expect("select row 2", {"e", "c", "(b)", "a"}, {"e", "(b)", "(a)"}, {"Notifications: 3"});
}

TEST(CentreTest, TheTrashAsksAndDeletesThroughTheList)
{
    TestPlatform platform {MainLoop::Host};
    Centre centre {{record("c"), record("b"), record("a")}};
    centre.open();
    const auto trash = [&] { centre.detail()->navigationItem().rightBarButtonItem()->sendAction(); };

    centre.select(1);
    trash();
    const auto alert = centre.top<UIAlertController>();
    ASSERT_TRUE(alert);
    EXPECT_EQ(alert->title(), "Aviso");
    EXPECT_EQ(alert->message(), "Deseja apagar esta notificação?");
    EXPECT_EQ(alert->preferredStyle(), UIAlertControllerStyle::alert);
    ASSERT_EQ(alert->actions().size(), 2U);
    EXPECT_EQ(alert->actions()[0].title, "Apagar");
    EXPECT_EQ(alert->actions()[0].style, UIAlertActionStyle::default_);
    EXPECT_EQ(alert->actions()[1].title, "Cancelar");
    EXPECT_EQ(alert->actions()[1].style, UIAlertActionStyle::cancel);

    alert->userChooses(1);
    ASSERT_TRUE(centre.detail()) << "Cancelar only closes the alert";
    EXPECT_EQ(Centre::stored(), (Titles {"c", "(b)", "a"}));
    platform.log.takeLines();

    trash();
    centre.top<UIAlertController>()->userChooses(0);
    centre.layOut();
    ASSERT_TRUE(centre.list()) << "Apagar goes back to the list";
    EXPECT_EQ(Centre::stored(), (Titles {"c", "a"}));
    EXPECT_THAT(centre.shown(), ElementsAre("c", "a"));
    EXPECT_THAT(platform.log.takeLines(), ElementsAre("Notifications: 2"));
}

TEST(CentreTest, DeletionsAreHeardWhileCoveredAndPushesWhileSeen)
{
    TestPlatform platform {MainLoop::Host};
    Centre centre {{record("b"), record("a")}};
    centre.open();
    const auto post = [](std::optional<AnyDictionary> userInfo) {
        NotificationCenter::default_().post(
            {.name = NotificationName::didDeletedNotification, .userInfo = std::move(userInfo)});
    };
    post(AnyDictionary {{"index", 0}});
    EXPECT_EQ(Centre::stored(), (Titles {"b", "a"})) << "the list is seen";

    centre.select(0);
    const auto* list = dynamic_cast<NotificationViewController*>(
        centre.detail()->navigationController()->viewControllers().front().get());
    const std::pair<const char*, std::optional<AnyDictionary>> ignored[] {
        {"no user info", std::nullopt},
        {"no index", AnyDictionary {{"Index", 0}}},
        {"a text", AnyDictionary {{"index", "0"}}},
        {"a double", AnyDictionary {{"index", 0.0}}},
        {"a flag", AnyDictionary {{"index", true}}},
        {"beyond the end", AnyDictionary {{"index", 2}}},
        {"negative", AnyDictionary {{"index", -1}}},
    };
    for (const auto& [name, userInfo] : ignored) {
        post(userInfo);
        EXPECT_EQ(Centre::stored(), (Titles {"(b)", "a"})) << name;
        EXPECT_EQ(list->viewModel->notifications.size(), 2U) << name;
    }
    post(AnyDictionary {{"index", 1}});
    EXPECT_EQ(Centre::stored(), (Titles {"(b)"}));
    EXPECT_EQ(list->viewModel->notifications.size(), 1U);
}

TEST(CentreTest, AnEmptiedStoreIsNoticedOnArrivalAndFatalOnSelection)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    TestPlatform platform {MainLoop::Host};
    Centre centre {{record("a")}};
    centre.open();
    NotificationStorage::setBuffer({});
    NotificationCenter::default_().post({.name = NotificationName::didReceivedNotification});
    EXPECT_EQ(centre.list()->viewModel->notifications.size(), 1U);
    EXPECT_DEATH(centre.select(0), "Fatal error: Index out of range: row 0 of 0 notifications");
}

TEST(CentreTest, TheLinkOpensInTheBrowserWhenItIsAnURL)
{
    const TestPlatform platform {MainLoop::Host};
    struct Row {
        std::optional<std::string> launchURL;
        bool isVisible;
        bool opens;
    };
    const Row rows[] {
        {std::nullopt, true, false},
        {"", false, false},
        {"shop", false, true},
        {"https://example.com/p/1?x=a%20b", true, true},
        {"HTTPS://example.com", false, true},
        {"see http://example.com", true, false},
        {"myapp://open?u=http://example.com", true, true},
    };
    for (const auto& [launchURL, isVisible, opens] : rows) {
        auto linked = record("a");
        linked.launchURL = launchURL;
        Centre centre {{linked}};
        centre.open();
        centre.select(0);
        const auto detail = centre.detail();
        const auto name = launchURL.value_or("none");
        EXPECT_EQ(detail->scene->urlBtn->isHidden(), !isVisible) << name;
        detail->scene->urlBtn->sendActions(UIControlEvents::touchUpInside);
        const auto browser = centre.top<SFSafariViewController>();
        ASSERT_EQ(browser != nullptr, opens) << name;
        if (browser) {
            EXPECT_EQ(browser->url().absoluteString(), launchURL);
            EXPECT_EQ(browser->modalPresentationStyle(), UIModalPresentationStyle::overCurrentContext);
            EXPECT_TRUE(detail->isOnScreen());
        }
    }
}

// The detail screen was read after it had gone when a host did so.
TEST(CentreTest, AHostMayCloseTheCentreWhenItHearsOfADeletion)
{
    const TestPlatform platform {MainLoop::Host};
    Centre centre {{record("b"), record("a")}};
    centre.open();
    centre.select(0);
    NotificationCenter::default_().addObserver(
        centre.host, [&](const Notification&) { centre.host->dismiss(true); },
        NotificationName::didDeletedNotification);
    centre.detail()->navigationItem().rightBarButtonItem()->sendAction();
    centre.top<UIAlertController>()->userChooses(0);
    centre.layOut();
    EXPECT_FALSE(centre.host->presentedViewController());
    EXPECT_EQ(Centre::stored(), (Titles {"a"}));
}

TEST(CentreTest, NeedsAPresenter)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_DEATH(CentralCoordinator {nullptr}, "Fatal error: CentralCoordinator needs a presenter");
}

TEST(CentreTest, NothingOutlivesTheCentre)
{
    const TestPlatform platform {MainLoop::Host};
    Centre centre {{record("b"), record("a")}};
    centre.open();
    const std::weak_ptr list = centre.list();
    const std::weak_ptr navigation
        = std::dynamic_pointer_cast<UINavigationController>(centre.host->presentedViewController());
    const std::weak_ptr cell = centre.cell(0);
    centre.select(0);
    const std::weak_ptr detail = centre.detail();
    centre.detail()->navigationItem().rightBarButtonItem()->sendAction();
    const std::weak_ptr alert = centre.top<UIAlertController>();

    centre.host->dismiss(true);
    centre.layOut();
    EXPECT_TRUE(list.expired());
    EXPECT_TRUE(navigation.expired());
    EXPECT_TRUE(cell.expired());
    EXPECT_TRUE(detail.expired());
    EXPECT_TRUE(alert.expired());
    // The observer that the list added when it disappeared went with it.
    NotificationCenter::default_().post(
        {.name = NotificationName::didDeletedNotification, .userInfo = AnyDictionary {{"index", 0}}});
    EXPECT_EQ(Centre::stored(), (Titles {"(b)", "a"}));
}

} // namespace
} // namespace kova
