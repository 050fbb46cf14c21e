#include "Platform/UIKit/UIButton.h"
#include "Tests/Platform/UIKit/Scene.h"

#include <gtest/gtest.h>

#include <memory>

namespace kova {
namespace {

using tests::Scene;

/// Counts how often it is laid out.
class CountingView : public UIView {
public:
    int layouts = 0;

protected:
    void layoutSubviews() override { ++layouts; }
};

/// A row: a view that keeps its frame, with constraints of its own beneath it.
class Row : public CountingView {
public:
    Row()
    {
        m_label->setTranslatesAutoresizingMaskIntoConstraints(false);
        addSubview(m_label);
        NSLayoutConstraint::activate(
            {m_label->leftAnchor().equalTo(leftAnchor(), 5), m_label->centerYAnchor().equalTo(centerYAnchor())});
    }

    [[nodiscard]] UILabel& label() const { return *m_label; }

private:
    std::shared_ptr<UILabel> m_label = std::make_shared<UILabel>();
};

TEST(Relayout, FollowsWhatChanges)
{
    Scene scene {{.width = 300, .height = 200}};
    auto& label = scene.addLabel("label", "four");
    scene.add("below");
    const auto top = scene.constrain("label.left = root.left\n below.left = label.right\n below.top = label.bottom\n"
                                     "below.width = 10\n below.height = 10\n label.top = root.top + 5");
    EXPECT_EQ(scene.frame("below"), CGRect(40, 25, 10, 10));
    label.setText("longer");
    EXPECT_EQ(scene.frame("below"), CGRect(60, 25, 10, 10));
    label.setFont(UIFont::systemFont(100.0 / 3));
    EXPECT_EQ(scene.frame("below"), CGRect(120, 45, 10, 10));
    label.setText(std::nullopt);
    EXPECT_EQ(scene.frame("below"), CGRect(0, 5, 10, 10));
    NSLayoutConstraint::deactivate({top});
    EXPECT_FALSE(top->isActive());
    scene.constrain("label.bottom = root.bottom");
    EXPECT_EQ(scene.frame("below"), CGRect(0, 200, 10, 10));
    scene.root->setFrame({0, 0, 300, 100});
    EXPECT_EQ(scene.frame("below"), CGRect(0, 100, 10, 10));
    // A view that keeps its frame again stays where it was put, and others follow it.
    label.setTranslatesAutoresizingMaskIntoConstraints(true);
    label.setFrame({1, 2, 3, 4});
    EXPECT_EQ(scene.frame("below"), CGRect(4, 6, 10, 10));
}

TEST(Relayout, RemovingAViewDropsWhatTiesItToTheOutside)
{
    Scene scene {{.width = 300, .height = 200}};
    scene.add("a");
    scene.add("b");
    scene.add("inner", "a");
    scene.constrain("a.left = root.left\n a.top = root.top\n a.width = 10\n a.height = 10");
    const auto outside = scene.constrain("b.left = inner.right");
    const auto inside = scene.constrain("inner.width = a.width");
    const auto own = scene.constrain("inner.height = 3");
    EXPECT_EQ(scene.root->constraints().size(), 3U);
    EXPECT_EQ(scene["a"].constraints().size(), 3U);
    scene["a"].removeFromSuperview();
    EXPECT_FALSE(outside->isActive());
    EXPECT_TRUE(inside->isActive());
    EXPECT_TRUE(own->isActive());
    EXPECT_TRUE(scene.root->constraints().empty());
    // Moving a view to the front is no removal.
    scene["root"].addSubview(scene.views.at("a"));
    const auto again = scene.constrain("a.left = root.left + 5");
    scene["root"].addSubview(scene.views.at("a"));
    EXPECT_TRUE(again->isActive());
    // A view that survives the one above it is not tied to it any more.
    auto survivor = scene.views.at("inner");
    scene.views.clear();
    scene["root"].subviews().back()->removeFromSuperview();
    EXPECT_EQ(survivor->superview(), nullptr);
    EXPECT_FALSE(inside->isActive());
    EXPECT_TRUE(own->isActive());
    survivor->layoutIfNeeded();
}

TEST(Relayout, AChangeSolvesOnlyTheSetItIsIn)
{
    UIView root {{0, 0, 300, 200}};
    std::vector<std::shared_ptr<Row>> rows;
    for (int row = 0; row < 3; ++row) {
        rows.push_back(std::make_shared<Row>());
        rows.back()->setFrame({0, row * 40.0, 300, 40});
        root.addSubview(rows.back());
    }
    root.layoutIfNeeded();
    root.layoutIfNeeded();
    EXPECT_EQ(rows[0]->layouts, 1);
    rows[1]->label().setFont(UIFont::systemFont(50.0 / 3));
    rows[1]->label().setText("four");
    root.layoutIfNeeded();
    EXPECT_EQ(rows[1]->label().frame(), CGRect(5, 10, 40, 20));
    // The text changed a frame in the row, not the row's own.
    EXPECT_EQ(rows[0]->layouts, 1);
    EXPECT_EQ(rows[2]->layouts, 1);
    // A row that only moves needs nothing, one that grows does.
    rows[0]->setFrame({0, 7, 300, 40});
    root.layoutIfNeeded();
    EXPECT_EQ(rows[0]->layouts, 1);
    rows[1]->setFrame({0, 40, 300, 60});
    root.layoutIfNeeded();
    EXPECT_EQ(rows[1]->layouts, 2);
    EXPECT_EQ(rows[1]->label().frame(), CGRect(5, 20, 40, 20));
    // Asked of a view within the set, the whole set is solved.
    rows[2]->label().setText("ab");
    rows[2]->label().layoutIfNeeded();
    EXPECT_EQ(rows[2]->label().frame().size.width, 2 * 17 * 0.6);
}

TEST(Relayout, PlacingSubviewsMayAskForMore)
{
    /// Never content.
    class Restless : public CountingView {
        void layoutSubviews() override
        {
            ++layouts;
            setNeedsLayout();
        }
    };
    /// Throws its subviews out.
    class Emptying : public CountingView {
        void layoutSubviews() override
        {
            while (!subviews().empty())
                subviews().front()->removeFromSuperview();
        }
    };
    UIView root {{0, 0, 10, 10}};
    const auto restless = std::make_shared<Restless>();
    root.addSubview(restless);
    const auto emptying = std::make_shared<Emptying>();
    emptying->addSubview(std::make_shared<UIView>());
    root.addSubview(emptying);
    root.layoutIfNeeded();
    EXPECT_GE(restless->layouts, 2);
    EXPECT_LE(restless->layouts, 20);
    EXPECT_TRUE(emptying->subviews().empty());

    // The button places its title by the title's size.
    UIButton button {{0, 0, 100, 50}};
    button.titleLabel().setFont(UIFont::systemFont(50.0 / 3));
    button.setTitle("four", UIControlState::normal);
    button.layoutIfNeeded();
    EXPECT_EQ(button.titleLabel().frame(), CGRect(30, 15, 40, 20));
    button.setTitle("a title wider than the button", UIControlState::normal);
    button.layoutIfNeeded();
    EXPECT_EQ(button.titleLabel().frame(), CGRect(0, 15, 100, 20));
}

TEST(Relayout, ManyAndDeepViews)
{
    constexpr int count = 10'000;
    for (const bool keepsFrame : {true, false}) {
        auto root = std::make_shared<UIView>(CGRect {0, 0, 300, 200});
        auto* deepest = root.get();
        for (int depth = 0; depth < count; ++depth) {
            const auto view = std::make_shared<UIView>(CGRect {1, 0, 10, 10});
            view->setTranslatesAutoresizingMaskIntoConstraints(keepsFrame);
            deepest->addSubview(view);
            if (!keepsFrame) {
                NSLayoutConstraint::activate({view->leftAnchor().equalTo(deepest->leftAnchor(), 1),
                    view->topAnchor().equalTo(deepest->topAnchor()), view->widthAnchor().equalToConstant(10),
                    view->bottomAnchor().equalTo(root->bottomAnchor())});
            }
            deepest = view.get();
        }
        deepest->setTag(5);
        EXPECT_EQ(root->viewWithTag(5), deepest);
        root->layoutIfNeeded();
        EXPECT_EQ(deepest->convert(deepest->bounds(), nullptr), CGRect(count, 0, 10, keepsFrame ? 10 : 200));
    }
    // Side by side, each tied to the next, so that only the last constraint says where they are.
    UIView root {{0, 0, 300, 200}};
    std::vector<std::shared_ptr<UIView>> views;
    for (int number = 0; number < count; ++number) {
        const auto view = std::make_shared<UIView>();
        view->setTranslatesAutoresizingMaskIntoConstraints(false);
        root.addSubview(view);
        NSLayoutConstraint::activate({view->widthAnchor().equalToConstant(1), view->heightAnchor().equalToConstant(1),
            view->topAnchor().equalTo(root.topAnchor())});
        if (number > 0)
            NSLayoutConstraint::activate({views.back()->leftAnchor().equalTo(view->rightAnchor())});
        views.push_back(view);
    }
    NSLayoutConstraint::activate({views.back()->leftAnchor().equalTo(root.leftAnchor(), 3)});
    root.layoutIfNeeded();
    EXPECT_EQ(views.front()->frame(), CGRect(count + 2, 0, 1, 1));
}

} // namespace
} // namespace kova
