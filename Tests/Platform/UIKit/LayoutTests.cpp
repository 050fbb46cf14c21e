#include "Platform/UIKit/UIActivityIndicatorView.h"
#include "Platform/UIKit/UIButton.h"
#include "Tests/Platform/UIKit/Scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace kova {

static void PrintTo(const CGRect& rect, std::ostream* out)
{
    *out << rect.origin.x << ", " << rect.origin.y << ", " << rect.size.width << " x " << rect.size.height;
}

namespace {

using tests::Scene;

struct LayoutCase {
    const char* name;
    std::function<void(Scene&)> build;
    std::string constraints;
    std::map<std::string, CGRect> frames;
    /// What is said on standard error: so many lines, of which one contains the text.
    std::ptrdiff_t linesSaid = 0;
    std::string said {};
};

void oneView(Scene& scene)
{
    scene.add("a");
}

void twoViews(Scene& scene)
{
    scene.add("a");
    scene.add("b");
}

void label(Scene& scene)
{
    scene.addLabel("a", "olá, você");
}

const std::string inTheCorner = "a.left = root.left\n a.top = root.top\n";
const std::string tenSquare = "a.width = 10\n a.height = 10\n";

const LayoutCase cases[] {
    {"multiplier across the axes", oneView, inTheCorner + "a.width = root.width * 0.5 - 10\n a.height = a.width * 0.25",
        {{"a", {0, 0, 140, 35}}}},
    {"beside a view that keeps its frame",
        [](Scene& scene) {
            twoViews(scene);
            scene["b"].setTranslatesAutoresizingMaskIntoConstraints(true);
            scene["b"].setFrame({100, 50, 20, 10});
        },
        tenSquare + "a.left = b.right + 5\n a.centerY = b.centerY",
        {{"a", {125, 50, 10, 10}}, {"b", {100, 50, 20, 10}}}},
    {"contents wish their size", label, inTheCorner, {{"a", {0, 0, 90, 20}}}},
    {"a width that is too small for the text holds", label, inTheCorner + "a.right = root.left + 50",
        {{"a", {0, 0, 50, 20}}}},
    {"several lines move what is below",
        [](Scene& scene) {
            scene.addLabel("a", "one two three", 0);
            scene.add("b");
        },
        "a.left = root.left\n a.top = root.top\n a.right = root.left + 50\n b.top = a.bottom + 1\n b.left = a.left\n"
        "b.right = a.right\n b.bottom = root.bottom",
        {{"a", {0, 0, 50, 60}}, {"b", {0, 61, 50, 139}}}},
    {"two lines at most", [](Scene& scene) { scene.addLabel("a", "one two three", 2); }, inTheCorner + "a.width = 50",
        {{"a", {0, 0, 50, 40}}}},
    {"a wheel and a button",
        [](Scene& scene) {
            scene.views["a"] = std::make_shared<UIActivityIndicatorView>(UIActivityIndicatorViewStyle::whiteLarge);
            scene["a"].setTranslatesAutoresizingMaskIntoConstraints(false);
            scene["root"].addSubview(scene.views["a"]);
            auto& button = scene.add<UIButton>("b");
            button.titleLabel().setFont(UIFont::systemFont(10));
            button.setTitle("four", UIControlState::normal);
        },
        "a.centerX = root.centerX\n a.top = root.top\n b.left = root.left\n b.top = root.top",
        {{"a", {131.5, 0, 37, 37}}, {"b", {0, 0, 24, 24}}}},
    {"a bound that another makes needless", twoViews,
        tenSquare
            + "a.top = root.top\n b.top = root.top\n b.height = 10\n b.width = 10\n a.left = root.left @ 500\n "
              "b.left = a.left * 3 @ 500\n"
              "b.left >= root.left + 120\n a.left >= root.left + 50",
        {{"a", {50, 0, 10, 10}}, {"b", {150, 0, 10, 10}}}},
    {"a wish gives way to a bound", oneView, inTheCorner + "a.height = 10\n a.width = 50 @ 999\n a.width <= 40",
        {{"a", {0, 0, 40, 10}}}},
    {"the stronger wish", oneView,
        inTheCorner + "a.height = 10\n a.width = 50 @ 250\n a.width = 60 @ 251\n a.width = 70 @ 249",
        {{"a", {0, 0, 60, 10}}}},
    {"a wish is stronger than the content", label, inTheCorner + "a.width = 60 @ 1", {{"a", {0, 0, 60, 20}}}},

    {"the first of two that contradict", oneView, inTheCorner + tenSquare + "a.width = 11", {{"a", {0, 0, 10, 10}}}, 1,
        "UIView.width = 11"},
    {"bounds that contradict each other", oneView,
        inTheCorner + "a.height = 1\n a.width >= 20\n a.width <= 10\n a.width = 15 @ 1", {{"a", {0, 0, 10, 1}}}, 1,
        "UIView.width >= 20"},
    {"numbers that are none", oneView,
        inTheCorner + tenSquare
            + "a.right = root.right + nan\n a.width = inf\n a.bottom = root.bottom * inf\n a.height <= root.height "
              "* nan",
        {{"a", {0, 0, 10, 10}}}, 4, "nan"},
    {"numbers that are too large", oneView,
        "a.top = root.top\n a.height = 1\n a.left = root.right * 1e308\n a.right = a.left * 1e308",
        {{"a", {0, 0, 0, 1}}}, 2, "UIView.left = UIView.right * 1e+308"},
    {"less room than the edges leave", oneView,
        "a.left = root.left + 200\n a.right = root.left + 100\n a.top = root.top\n a.height = 1",
        {{"a", {200, 0, 0, 1}}}},
    {"a view that nothing places",
        [](Scene& scene) {
            scene.add("a");
            scene["a"].setTag(7);
            scene.add("b", "a");
        },
        "a.left = root.left + 10\n a.top = root.top + 20\n a.width = 50\n a.height = 50",
        {{"a", {10, 20, 50, 50}}, {"b", {10, 20, 0, 0}}}, 1, "UIView"},
    {"two views that only each other places", twoViews, "b.left = a.right + 5\n a.width = 10\n b.width = 10",
        {{"a", {0, 0, 10, 0}}, {"b", {15, 0, 10, 0}}}, 2, "open"},
    {"a ring of relations", twoViews,
        "a.left = b.left\n b.left = a.left\n a.width = b.width\n b.width = a.width\n a.top = root.top\n b.top = "
        "root.top\n a.height = 1\n b.height = 1",
        {{"a", {0, 0, 0, 1}}, {"b", {0, 0, 0, 1}}}, 1, "open"},
};

// Every case has a root of 300 x 200.
TEST(LayoutTest, SolvesFrames)
{
    for (const auto& [name, build, constraints, frames, linesSaid, said] : cases) {
        SCOPED_TRACE(name);
        testing::internal::CaptureStderr();
        Scene scene {{.width = 300, .height = 200}};
        build(scene);
        scene.constrain(constraints);
        for (const auto& [view, frame] : frames)
            EXPECT_EQ(scene.frame(view), frame) << view;
        // Solving again changes nothing and says nothing again.
        for (const auto& [_, view] : scene.views)
            view->setNeedsLayout();
        for (const auto& [view, frame] : frames)
            EXPECT_EQ(scene.frame(view), frame) << view << ", the second time";
        const auto output = testing::internal::GetCapturedStderr();
        EXPECT_EQ(std::ranges::count(output, '\n'), linesSaid) << output;
        EXPECT_THAT(output, testing::HasSubstr(said));
    }
}

} // namespace
} // namespace kova
