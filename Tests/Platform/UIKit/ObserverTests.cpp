#include "Platform/UIKit/CAShapeLayer.h"
#include "Platform/UIKit/CATextLayer.h"
#include "Platform/UIKit/UIButton.h"
#include "Platform/UIKit/UIImageView.h"
#include "Platform/UIKit/UIWindow.h"
#include "Platform/UIKit/UIWindowObserver.h"
#include "Tests/Platform/UIKit/Scene.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace kova {
namespace {

using tests::Scene;

/// Notes what a drawing platform would hear, with the names that the views have in a scene.
class RecordingObserver : public UIWindowObserver {
public:
    explicit RecordingObserver(const Scene& scene)
        : m_scene(scene)
    {
    }

    void viewDidChange(UIView& view, UIChange change) override
    {
        static constexpr const char* changes[] = {"appearance", "geometry", "hierarchy", "layout"};
        m_heard.push_back(nameOf(view) + " " + changes[static_cast<int>(change)]);
    }

    void viewWillLeave(UIView& view) override { m_heard.push_back(nameOf(view) + " leaves"); }

    [[nodiscard]] std::vector<std::string> take() { return std::exchange(m_heard, {}); }

private:
    [[nodiscard]] std::string nameOf(const UIView& view) const
    {
        for (const auto& [name, named] : m_scene.views) {
            if (named.get() == &view)
                return name;
        }
        return &view == m_scene.root.get() ? "root" : "?";
    }

    const Scene& m_scene;
    std::vector<std::string> m_heard;
};

using Heard = std::vector<std::string>;

struct ObserverTest : testing::Test {
    void SetUp() override
    {
        scene.addLabel("label", "four");
        scene.add("marker");
        scene.addPicture("picture", {.width = 5, .height = 5});
        auto& button = scene.add<UIButton>("button");
        button.titleLabel().setFont(UIFont::systemFont(10));
        scene.constrain("label.left = root.left\n label.top = root.top\n marker.left = label.right\n marker.top = "
                        "label.top\n marker.width = 3\n marker.height = 3\n picture.left = root.left\n picture.bottom "
                        "= root.bottom\n button.right = root.right\n button.top = root.top");
        window.addSubview(scene.root);
        window.layoutIfNeeded();
        window.setObserver(&observer);
    }

    void TearDown() override { window.setObserver(nullptr); }

    UILabel& label() { return dynamic_cast<UILabel&>(scene["label"]); }

    Scene scene {{.width = 300, .height = 200}};
    RecordingObserver observer {scene};
    UIWindow window {{0, 0, 300, 200}};
};

TEST_F(ObserverTest, HearsWhatChangesAndNothingElse)
{
    struct Case {
        const char* name;
        std::function<void()> change;
        Heard atOnce;
        Heard afterLayout;
    };
    const auto shape = std::make_shared<CAShapeLayer>();
    const auto text = std::make_shared<CATextLayer>();
    auto& picture = dynamic_cast<UIImageView&>(scene["picture"]);
    auto& button = dynamic_cast<UIButton&>(scene["button"]);
    const Heard nothing;
    const Case cases[] = {
        {"nothing", [] {}, nothing, nothing},
        {"a longer text", [&] { label().setText("longer"); }, {"label layout", "label appearance"},
            {"label geometry", "marker geometry"}},
        {"the same text", [&] { label().setText("longer"); }, nothing, nothing},
        {"a colour", [&] { label().setTextColor(UIColor::redColor()); }, {"label appearance"}, nothing},
        {"hiding", [&] { scene["marker"].setHidden(true); }, {"marker appearance"}, nothing},
        {"a fade", [&] { UIView::animate(0.2, [&] { scene["marker"].setAlpha(0.5); }); }, {"marker appearance"},
            nothing},
        {"a shape", [&] { scene["marker"].layer().addSublayer(shape); }, {"marker appearance"}, nothing},
        {"a text on the shape", [&] { shape->addSublayer(text); }, {"marker appearance"}, nothing},
        {"that text", [&] { text->setString("12"); }, {"marker appearance"}, nothing},
        {"the shape gone", [&] { shape->removeFromSuperlayer(); }, {"marker appearance"}, nothing},
        {"a shape that hangs nowhere", [&] { shape->setFillColor(UIColor::redColor()); }, nothing, nothing},
        {"another picture as large",
            [&] { picture.setImage(std::make_shared<UIImage>(CGSize {.width = 5, .height = 5}, nullptr)); },
            {"picture layout", "picture appearance"}, nothing},
        // The label in the button has no name here.
        {"a title", [&] { button.setTitle("four", UIControlState::normal); }, {"? layout", "? appearance"},
            {"button geometry", "? geometry"}},
        {"a constraint", [&] { scene.constrain("label.width = 100"); }, {"label layout"},
            {"label geometry", "marker geometry"}},
        {"to the front", [&] { scene.root->addSubview(scene.views.at("marker")); }, {"root layout", "root hierarchy"},
            nothing},
        {"another size", [&] { scene.root->setFrame({0, 0, 301, 200}); }, {"root layout", "root geometry"},
            {"button geometry"}},
        {"what it is not told to draw", [&] { scene["marker"].setTag(7); }, nothing, nothing},
    };
    for (const auto& [name, change, atOnce, afterLayout] : cases) {
        change();
        EXPECT_EQ(observer.take(), atOnce) << name;
        window.layoutIfNeeded();
        EXPECT_EQ(observer.take(), afterLayout) << name;
    }
    // Layout is asked for once, by the first who needs it.
    label().setText("a");
    label().setText("b");
    scene["marker"].setNeedsLayout();
    EXPECT_EQ(observer.take(), (Heard {"label layout", "label appearance", "label appearance"}));
}

TEST_F(ObserverTest, HearsOfATreeThatLeavesOnceAndThenNoMore)
{
    const auto inner = std::make_shared<UIView>();
    scene["marker"].addSubview(inner);
    EXPECT_EQ(inner->window(), &window);
    window.layoutIfNeeded();
    static_cast<void>(observer.take());
    const auto marker = scene.views.at("marker");
    marker->removeFromSuperview();
    EXPECT_EQ(observer.take(), (Heard {"marker leaves", "label layout", "root hierarchy"}));
    EXPECT_EQ(inner->window(), nullptr);
    marker->setHidden(true);
    inner->setFrame({1, 2, 3, 4});
    marker->setNeedsLayout();
    inner->removeFromSuperview();
    EXPECT_TRUE(observer.take().empty());
    // Back, with what it got meanwhile; and taken along when it moves within the window.
    marker->addSubview(inner);
    scene.root->addSubview(marker);
    EXPECT_EQ(inner->window(), &window);
    window.layoutIfNeeded();
    static_cast<void>(observer.take());
    inner->setAlpha(0);
    EXPECT_EQ(observer.take(), (Heard {"? appearance"}));
    scene["label"].addSubview(marker);
    EXPECT_EQ(observer.take(), (Heard {"marker leaves", "root layout", "root hierarchy", "label hierarchy"}));
}

TEST(Observer, ViewsOutliveTheirWindow)
{
    const auto view = std::make_shared<UIView>();
    const auto inner = std::make_shared<UIView>();
    view->addSubview(inner);
    {
        UIWindow window {{0, 0, 10, 10}};
        window.addSubview(view);
        EXPECT_EQ(inner->window(), &window);
    }
    EXPECT_EQ(inner->window(), nullptr);
    EXPECT_EQ(view->superview(), nullptr);
    inner->setHidden(true);
}

} // namespace
} // namespace kova
