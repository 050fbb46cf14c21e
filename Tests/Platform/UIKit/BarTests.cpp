#include "Platform/UIKit/SFSafariViewController.h"
#include "Platform/UIKit/UIAlertController.h"
#include "Platform/UIKit/UIButton.h"
#include "Platform/UIKit/UINavigationController.h"
#include "Platform/UIKit/UIScrollView.h"
#include "Platform/UIKit/UIWindow.h"

#include <gtest/gtest.h>

namespace kova::tests {
namespace {

/// In the fixed pitch of the model: a code point of the bar's 17 points is this wide.
constexpr double pitch = 17 * 0.6;

struct BarTest : testing::Test {
    std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGRect {0, 0, 320, 640});
    std::shared_ptr<UIViewController> root = std::make_shared<UIViewController>();
    std::shared_ptr<UINavigationController> stack = std::make_shared<UINavigationController>(root);
    UINavigationBar& bar = stack->navigationBar();

    void show(double width = 320)
    {
        window->setFrame({0, 0, width, 640});
        window->setRootViewController(stack);
        window->layoutIfNeeded();
    }
    static std::shared_ptr<UIBarButtonItem> item(const std::string& title, std::function<void()> action = [] { })
    {
        static UIView target;
        return std::make_shared<UIBarButtonItem>(title, &target, std::move(action));
    }
    static void press(UIView* button)
    {
        ASSERT_NE(dynamic_cast<UIButton*>(button), nullptr);
        dynamic_cast<UIButton*>(button)->sendActions(UIControlEvents::touchUpInside);
    }
    static std::string titleOf(UIView* button)
    {
        return button ? dynamic_cast<UIButton&>(*button).title().value_or("") : "none";
    }
};

TEST_F(BarTest, TheTitleStandsInTheMiddleOfWhatTheButtonsLeave)
{
    struct Case {
        const char* title;
        const char* left;
        const char* right;
        double width;
        double x;
        double titleWidth;
    };
    const Case cases[] {
        {"Title", nullptr, nullptr, 320, 160 - 2.5 * pitch, 5 * pitch},
        {"Title", "OK", "Close", 320, 160 - 2.5 * pitch, 5 * pitch},
        // Pushed aside, cut, and without any room.
        {"0123456789012345", nullptr, "Apagar", 320, 312 - (6 * pitch + 16) - 16 * pitch, 16 * pitch},
        {"01234567890123456789012345678901234567890", "OK", "OK", 320, 52, 320 - 2 * 52},
        {"Title", "OK", "OK", 60, 52, 0},
    };
    for (const auto& [title, left, right, width, x, titleWidth] : cases) {
        SCOPED_TRACE(testing::Message() << title << " within " << width);
        root->setTitle(title);
        root->navigationItem().setLeftBarButtonItem(left ? item(left) : nullptr);
        root->navigationItem().setRightBarButtonItem(right ? item(right) : nullptr);
        show(width);
        EXPECT_EQ(bar.frame(), CGRect(0, 0, width, 44));
        EXPECT_EQ(bar.shownTitle(), title);
        const auto frame = bar.subviews().front()->frame();
        EXPECT_NEAR(frame.origin.x, x, 1e-9);
        EXPECT_NEAR(frame.size.width, titleWidth, 1e-9);
        EXPECT_NEAR(frame.origin.y + frame.size.height / 2, 22, 1e-9);
    }
}

TEST_F(BarTest, ShowsTheItemOfTheTopmostScreen)
{
    int presses = 0;
    const auto done = std::make_shared<UIBarButtonItem>(UIBarButtonSystemItem::done, root.get(), [&] { ++presses; });
    root->navigationItem().setLeftBarButtonItem(done);
    EXPECT_EQ(done->value("view"), nullptr) << "no bar shows it yet";
    show();
    const auto view = done->value("view");
    EXPECT_EQ(view.get(), bar.leftView());
    EXPECT_EQ(done->value("title"), nullptr);
    EXPECT_EQ(titleOf(bar.leftView()), "OK");
    EXPECT_EQ(bar.leftView()->frame(), CGRect(0, 0, 44, 44));
    press(bar.leftView());
    EXPECT_EQ(presses, 1);

    auto detail = std::make_shared<UIViewController>();
    const auto trash = std::make_shared<UIBarButtonItem>(UIBarButtonSystemItem::trash, detail.get(), [] { });
    detail->navigationItem().setRightBarButtonItem(trash);
    stack->pushViewController(detail, true);
    window->layoutIfNeeded();
    EXPECT_EQ(done->value("view"), nullptr);
    EXPECT_EQ(titleOf(bar.leftView()), "Voltar");
    EXPECT_EQ(titleOf(bar.rightView()), "Apagar");
    EXPECT_EQ(bar.rightView()->frame().maxX(), 320);
    EXPECT_EQ(bar.rightView()->frame().size.width, 44) << "a can, not the word";
    EXPECT_EQ(bar.rightView()->accessibilityLabel(), "Apagar");
    detail->setTitle("Later");
    detail->navigationItem().setLeftBarButtonItem(item("Own"));
    EXPECT_EQ(bar.shownTitle(), "Later") << "changes of the item on show are followed";
    EXPECT_EQ(titleOf(bar.leftView()), "Own");
    detail->navigationItem().setLeftBarButtonItem(nullptr);
    detail.reset();

    press(bar.leftView());
    EXPECT_EQ(stack->viewControllers().size(), 1U);
    EXPECT_EQ(trash->value("view"), nullptr);
    EXPECT_EQ(done->value("view"), view) << "with what others have put on it";
    EXPECT_EQ(bar.rightView(), nullptr);
    bar.setTintColor(UIColor::redColor());
    EXPECT_EQ(dynamic_cast<UIButton&>(*bar.leftView()).titleColor(), UIColor::redColor());

    stack = nullptr;
    window->setRootViewController(nullptr);
    EXPECT_EQ(done->value("view"), nullptr) << "the bar has gone";
    root->navigationItem().setTitle("nobody listens");
}

TEST_F(BarTest, AButtonMayCloseTheStackItIsIn)
{
    struct Closing : UIViewController {
        std::string touchedAfterwards;
        void close()
        {
            dismiss(true);
            touchedAfterwards = "a text that is too long to be stored within the object itself";
        }
    };
    window->setRootViewController(root = std::make_shared<UIViewController>());
    auto closing = std::make_shared<Closing>();
    closing->navigationItem().setLeftBarButtonItem(std::make_shared<UIBarButtonItem>(
        UIBarButtonSystemItem::done, closing.get(), [screen = closing.get()] { screen->close(); }));
    stack = std::make_shared<UINavigationController>(closing);
    const std::weak_ptr<Closing> released = std::exchange(closing, nullptr);
    root->present(stack, true);
    auto* const button = stack->navigationBar().leftView();
    stack.reset();
    press(button);
    EXPECT_TRUE(released.expired());
}

/// Around another view, which it leaves so many points below its top.
struct Around : UIView {
    explicit Around(double gap)
        : m_gap(gap)
    {
    }
    void layoutSubviews() override
    {
        subviews().front()->setFrame({0, m_gap, bounds().size.width, bounds().size.height - m_gap});
    }

private:
    double m_gap;
};

TEST_F(BarTest, TheTopmostLiesBeneathTheBarOrBelowIt)
{
    struct Case {
        const char* name;
        /// Where the scroll view lies in the screen's view, which it is itself when it lies nowhere; and beside others.
        std::optional<double> gap;
        bool isAmongOthers;
        UIRectEdge edges;
        CGRect frame;
        double inset;
    };
    const Case cases[] {
        {"is the scroll view", std::nullopt, false, UIRectEdge::all, {0, 0, 320, 640}, 44},
        {"is filled by it", 0, false, UIRectEdge::all, {0, 0, 320, 640}, 44},
        {"has it lower", 100, false, UIRectEdge::all, {0, 0, 320, 640}, 0},
        {"has it among others", 0, true, UIRectEdge::all, {0, 0, 320, 640}, 0},
        {"lies below the bar", 0, false, UIRectEdge::none, {0, 44, 320, 596}, 0},
    };
    for (const auto& [name, gap, isAmongOthers, edges, frame, inset] : cases) {
        SCOPED_TRACE(name);
        root = std::make_shared<UIViewController>();
        stack = std::make_shared<UINavigationController>(root);
        const auto scrollView = std::make_shared<UIScrollView>();
        if (gap) {
            root->setView(std::make_shared<Around>(*gap));
            root->view()->addSubview(scrollView);
        } else {
            root->setView(scrollView);
        }
        if (isAmongOthers)
            root->view()->addSubview(std::make_shared<UIView>());
        root->setEdgesForExtendedLayout(edges);
        show();
        EXPECT_EQ(root->view()->frame(), frame);
        EXPECT_EQ(scrollView->adjustedContentInset().top, inset);
        EXPECT_EQ(scrollView->contentOffset().y, -inset);
        window->setFrame({0, 0, 640, 320});
        window->layoutIfNeeded();
        EXPECT_EQ(root->view()->frame().size.width, 640);
        EXPECT_EQ(root->view()->frame().maxY(), 320);
        EXPECT_EQ(scrollView->adjustedContentInset().top, inset);
        EXPECT_EQ(scrollView->clampedOffset({.x = 0, .y = -1000}).y, -inset);
    }
}

TEST_F(BarTest, AnAlertStacksMoreThanTwoButtons)
{
    struct Case {
        std::vector<std::string> actions;
        std::vector<CGRect> buttons;
    };
    const Case cases[] {
        {{}, {}},
        {{"a"}, {{0, 0, 270, 44}}},
        {{"a", "b"}, {{0, 0, 135, 44}, {135, 0, 135, 44}}},
        {{"a", "b", "c"}, {{0, 0, 270, 44}, {0, 44, 270, 44}, {0, 88, 270, 44}}},
    };
    // The title is one line of 20.4 points, the message two of 15.6, with 4 between them and 16 around.
    constexpr double textHeight = 16 + 20.4 + 4 + 31.2 + 16;
    show();
    for (const auto& [actions, expected] : cases) {
        SCOPED_TRACE(actions.size());
        const auto alert = std::make_shared<UIAlertController>(
            "Aviso", "Deseja apagar esta notificação agora?", UIAlertControllerStyle::alert);
        std::string chosen;
        for (const auto& title : actions)
            alert->addAction({.title = title, .handler = [&chosen, title] { chosen = title; }});
        root->present(alert, true);
        const auto& box = *alert->boxView();
        const auto height = textHeight + (expected.empty() ? 0 : expected.back().maxY());
        EXPECT_EQ(alert->view()->frame(), CGRect(0, 0, 320, 640));
        EXPECT_EQ(alert->view()->backgroundColor(), UIColor::withWhite(0, 0.4));
        EXPECT_EQ(box.layer().cornerRadius(), 14);
        EXPECT_EQ(box.frame().origin.x, 25);
        EXPECT_EQ(box.frame().size.width, 270);
        EXPECT_NEAR(box.frame().size.height, height, 1e-9);
        EXPECT_NEAR(box.frame().origin.y, (640 - height) / 2, 1e-9);
        std::vector<UIButton*> buttons;
        std::vector<CGRect> lines;
        for (const auto& view : box.subviews()) {
            if (auto* button = dynamic_cast<UIButton*>(view.get()))
                buttons.push_back(button);
            else if (view->backgroundColor())
                lines.push_back(view->frame());
        }
        ASSERT_EQ(buttons.size(), expected.size());
        ASSERT_EQ(lines.size(), expected.size());
        for (std::size_t index = 0; index < expected.size(); ++index) {
            const auto& [origin, size] = expected[index];
            EXPECT_EQ(buttons[index]->frame().origin.x, origin.x);
            EXPECT_NEAR(buttons[index]->frame().origin.y, textHeight + origin.y, 1e-9);
            EXPECT_EQ(buttons[index]->frame().size, size);
            // Between it and what is above it or, in a row, to its left.
            EXPECT_EQ(lines[index].origin.x, origin.x);
            EXPECT_NEAR(lines[index].origin.y, textHeight + origin.y, 1e-9);
            EXPECT_EQ(lines[index].size, origin.x > 0 ? CGSize(1, 44) : CGSize(270, 1));
        }
        if (buttons.empty()) {
            alert->dismiss(true);
        } else {
            press(buttons.back());
            EXPECT_EQ(chosen, actions.back());
        }
        EXPECT_EQ(window->topViewController(), root.get());
    }
}

TEST_F(BarTest, TheBrowserShowsItsAddressAndIsClosedByItsButton)
{
    show();
    auto browser = std::make_shared<SFSafariViewController>(*URL::create("https://example.com/a"));
    browser->setModalPresentationStyle(UIModalPresentationStyle::overCurrentContext);
    root->present(browser, true);
    EXPECT_EQ(browser->pageView()->frame(), CGRect(0, 44, 320, 596));
    auto& bottom = *browser->view()->subviews().back();
    const auto isAddress = [](const std::shared_ptr<UIView>& view) {
        const auto* label = dynamic_cast<UILabel*>(view.get());
        return label && label->text() == "https://example.com/a";
    };
    EXPECT_EQ(bottom.frame(), CGRect(0, 0, 320, 44));
    EXPECT_TRUE(std::ranges::any_of(bottom.subviews(), isAddress));
    auto* const close = browser->closeButton();
    const std::weak_ptr<SFSafariViewController> released = std::exchange(browser, nullptr);
    press(close);
    EXPECT_TRUE(released.expired());
}

} // namespace
} // namespace kova::tests
