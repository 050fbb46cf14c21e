#include "Platform/Foundation/NotificationCenter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace kova {
namespace {

using testing::ElementsAre;

struct Fixture : testing::Test {
    // A centre of its own: class-level observers of the process-wide one would stay for the other tests.
    NotificationCenter center;
    std::vector<std::string> heard;

    NotificationCenter::Handler hears(std::string what)
    {
        return
            [this, what = std::move(what)](const Notification& posted) { heard.push_back(what + " " + posted.name); };
    }
};

using NotificationCenterTest = Fixture;

TEST_F(NotificationCenterTest, DeliversByNameAndSenderInOrderOfRegistration)
{
    const int sender = 1;
    const int other = 2;
    center.addObserver(hears("any"), std::nullopt);
    center.addObserver(hears("named"), "a");
    center.addObserver(hears("from sender"), "a", &sender);
    center.addObserver(hears("named"), "a");
    center.post({.name = "a", .object = &other});
    EXPECT_THAT(heard, ElementsAre("any a", "named a", "named a"));
    heard.clear();
    center.post({.name = "a", .object = &sender});
    center.post({.name = "b", .object = &sender});
    EXPECT_THAT(heard, ElementsAre("any a", "named a", "from sender a", "named a", "any b"));
}

TEST_F(NotificationCenterTest, ForgetsObserversThatAreGoneOrRemoved)
{
    auto observer = std::make_shared<int>();
    auto stays = std::make_shared<int>();
    center.addObserver(observer, hears("gone"), "a");
    center.addObserver(stays, hears("stays"), "a");
    center.addObserver(stays, hears("stays"), "b");
    observer.reset();
    center.post({.name = "a"});
    EXPECT_THAT(heard, ElementsAre("stays a"));
    center.removeObserver(stays.get(), "a");
    center.post({.name = "a"});
    center.post({.name = "b"});
    EXPECT_THAT(heard, ElementsAre("stays a", "stays b"));
    center.removeObserver(stays.get());
    center.post({.name = "b"});
    EXPECT_EQ(heard.size(), 2U);
}

TEST_F(NotificationCenterTest, LetsGoOfWhatAnObserverThatIsGoneLeftBehind)
{
    auto observer = std::make_shared<int>();
    const auto captured = std::make_shared<int>();
    center.addObserver(observer, [captured](const Notification&) { }, "a");
    observer.reset();
    EXPECT_EQ(captured.use_count(), 2);
    center.addObserver(captured, hears("other"), "b");
    EXPECT_EQ(captured.use_count(), 1) << "a registration has the handlers of dead observers destroyed, as a post has";
}

TEST_F(NotificationCenterTest, ObserversMayChangeRegistrationsWhileTheyRun)
{
    const auto first = std::make_shared<int>();
    auto second = std::make_shared<int>();
    center.addObserver(
        first,
        [&](const Notification&) {
            heard.emplace_back("first");
            center.removeObserver(first.get());
            center.removeObserver(second.get());
            center.addObserver(hears("late"), "a");
        },
        "a");
    center.addObserver(second, hears("second"), "a");
    center.post({.name = "a"});
    EXPECT_THAT(heard, ElementsAre("first")) << "neither the removed nor the added one is called by the same post";
    center.post({.name = "a"});
    EXPECT_THAT(heard, ElementsAre("first", "late a"));
}

} // namespace
} // namespace kova
