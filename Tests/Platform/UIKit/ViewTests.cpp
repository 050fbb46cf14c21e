#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/UIKit/CATextLayer.h"
#include "Platform/UIKit/UIButton.h"
#include "Tests/Support/ManualClock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <vector>

namespace kova {
namespace {

using namespace std::chrono_literals;

TEST(View, OrderOfSubviews)
{
    UIView root;
    const auto a = std::make_shared<UIView>();
    const auto b = std::make_shared<UIView>();
    const auto c = std::make_shared<UIView>();
    root.addSubview(a);
    root.addSubview(b);
    root.insertSubview(c, 0);
    EXPECT_EQ(root.subviews(), (std::vector {c, a, b}));
    root.addSubview(c);
    EXPECT_EQ(root.subviews(), (std::vector {a, b, c}));
    root.insertSubview(c, 99);
    EXPECT_EQ(root.subviews(), (std::vector {a, b, c}));
    a->addSubview(c);
    EXPECT_EQ(root.subviews(), (std::vector {a, b}));
    EXPECT_EQ(c->superview(), a.get());
    EXPECT_TRUE(c->isDescendant(&root));
    // The tree held the last reference.
    auto alone = std::make_shared<UIView>();
    const std::weak_ptr<UIView> gone = alone;
    b->addSubview(std::move(alone));
    gone.lock()->removeFromSuperview();
    EXPECT_TRUE(gone.expired());
}

TEST(View, LayersHangOnOneAnother)
{
    auto view = std::make_shared<UIView>(CGRect {1, 2, 3, 4});
    EXPECT_EQ(view->layer().frame(), view->frame());
    const auto shape = std::make_shared<CALayer>();
    const auto text = std::make_shared<CATextLayer>();
    view->layer().addSublayer(shape);
    shape->addSublayer(text);
    view->layer().addSublayer(text);
    EXPECT_TRUE(shape->sublayers().empty());
    EXPECT_EQ(text->superlayer(), &view->layer());
    shape->removeFromSuperlayer();
    EXPECT_EQ(view->layer().sublayers(), (std::vector<std::shared_ptr<CALayer>> {text}));
    view.reset();
    EXPECT_EQ(text->superlayer(), nullptr);
    text->setString("still there");
}

TEST(View, ActionsRunWhileTheirTargetsLive)
{
    struct Target : Linkable { };
    std::vector<int> ran;
    auto control = std::make_shared<UIButton>();
    Target stays;
    auto goes = std::make_unique<Target>();
    auto closer = std::make_unique<Target>();
    const auto touch = UIControlEvents::touchUpInside;
    control->addTarget(&stays, [&] { ran.push_back(1); }, touch);
    control->addTarget(
        closer.get(),
        [&] {
            ran.push_back(2);
            goes.reset();
            control.reset();
        },
        touch);
    control->addTarget(goes.get(), [&] { ran.push_back(3); }, touch);
    control->addTarget(&stays, [&] { ran.push_back(4); }, touch);
    control->setEnabled(false);
    control->sendActions(touch);
    EXPECT_TRUE(ran.empty());
    control->setEnabled(true);
    control->sendActions(touch);
    EXPECT_EQ(ran, (std::vector {1, 2, 4}));
}

TEST(View, AnimationsNestAndEndOnTheMainQueueWhenTheirTimeIsOver)
{
    DispatchQueue::acceptTasks();
    tests::ManualClock clock;
    UIView view;
    std::vector<int> ended;
    UIView::animate(
        0.3,
        [&] {
            EXPECT_EQ(UIView::currentAnimationDuration(), 0.3);
            UIView::animate(
                0.2, [&] { EXPECT_EQ(UIView::currentAnimationDuration(), 0.2); },
                [&](bool finished) { ended.push_back(finished ? 2 : -2); });
            EXPECT_EQ(UIView::currentAnimationDuration(), 0.3);
            view.setAlpha(0);
        },
        [&](bool) { ended.push_back(3); });
    EXPECT_EQ(UIView::currentAnimationDuration(), 0);
    EXPECT_EQ(view.alpha(), 0);
    UIView::animate(0, [] {}, [&](bool) { ended.push_back(0); });
    UIView::animate(0.1, [] { });
    const auto runTo = [&](std::chrono::milliseconds by, const std::vector<int>& expected) {
        clock.advance(by);
        DispatchQueue::drainMain();
        EXPECT_EQ(ended, expected);
    };
    runTo(199ms, {0});
    runTo(1ms, {0, 2});
    runTo(100ms, {0, 2, 3});
    DispatchQueue::shutDownAll();
}

} // namespace
} // namespace kova
