#include "Platform/UIKit/UINavigationController.h"

#include "Platform/Foundation/Print.h"
#include "Platform/UIKit/KeepAlive.h"
#include "Platform/UIKit/ScreenTransition.h"
#include "Platform/UIKit/UIScrollView.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kova {

/// What the stack's view is: the topmost screen's view, and the bar in front of it.
class UINavigationController::ContentView : public UIView {
public:
    explicit ContentView(UINavigationController& owner)
        : m_owner(&owner)
    {
    }

protected:
    void layoutSubviews() override
    {
        if (m_owner)
            m_owner->layOut();
    }

private:
    WeakLink<UINavigationController> m_owner;
};

namespace {

/// The scroll view that a screen may consist of: its view, or its one subview.
UIScrollView* scrollViewOf(UIView& view)
{
    if (auto* scrollView = dynamic_cast<UIScrollView*>(&view))
        return scrollView;
    if (view.subviews().size() != 1)
        return nullptr;
    return dynamic_cast<UIScrollView*>(view.subviews().front().get());
}

} // namespace

UINavigationController::UINavigationController(std::shared_ptr<UIViewController> rootViewController)
    : m_navigationBar(std::make_shared<UINavigationBar>())
{
    if (!rootViewController || rootViewController->isPlaced())
        fatalError("a navigation controller needs a root that is shown nowhere else");
    rootViewController->m_parent = this;
    m_stack.push_back(std::move(rootViewController));
}

UINavigationController::~UINavigationController() = default;

void UINavigationController::loadView()
{
    m_contentView = std::make_shared<ContentView>(*this);
    m_contentView->addSubview(m_navigationBar);
    setView(m_contentView);
}

void UINavigationController::prepareForAppearance()
{
    UIViewController::prepareForAppearance();
    m_stack.back()->prepareForAppearance();
    showTop();
}

void UINavigationController::pushViewController(const std::shared_ptr<UIViewController>& viewController, bool animated)
{
    if (!viewController || viewController->isPlaced() || viewController.get() == &outermost())
        fatalError("only a screen that is shown nowhere else can be pushed");
    const auto self = keepAlive(*this);
    const auto before = m_stack.back();
    viewController->m_parent = this;
    m_stack.push_back(viewController);
    if (!isOnScreen())
        return showTopAgain();
    ScreenTransition transition {showingWindow(), animated};
    transition.announce(UITransition::Kind::Push, ScreenTransition::innermost(before.get()), *this);
    transition.run({before}, {viewController}, [this] { showTopAgain(); });
}

void UINavigationController::popViewController(bool animated)
{
    pop(m_stack.size() - 1, animated);
}

void UINavigationController::popToRootViewController(bool animated)
{
    pop(1, animated);
}

void UINavigationController::pop(std::size_t remaining, bool animated)
{
    if (remaining == 0 || remaining == m_stack.size())
        return;
    const auto self = keepAlive(*this);
    const auto end = m_stack.begin() + static_cast<std::ptrdiff_t>(remaining);
    // They live until the topmost has heard that it is gone.
    const Screens removed {std::make_move_iterator(end), std::make_move_iterator(m_stack.end())};
    m_stack.erase(end, m_stack.end());
    const auto change = [&] {
        for (const auto& screen : removed)
            screen->m_parent = nullptr;
        showTopAgain();
    };
    if (!isOnScreen())
        return change();
    ScreenTransition transition {showingWindow(), animated};
    transition.announce(UITransition::Kind::Pop, ScreenTransition::innermost(removed.back().get()), *this);
    transition.run({removed.back()}, {m_stack.back()}, change);
}

void UINavigationController::showTopAgain()
{
    // The first time is the stack's own first appearance.
    if (m_navigationBar->shownItem())
        showTop();
}

UIViewController* UINavigationController::revealPrevious()
{
    if (m_stack.size() < 2 || !isOnScreen())
        return nullptr;
    auto& previous = *m_stack[m_stack.size() - 2];
    m_contentView->insertSubview(previous.view(), 0);
    m_contentView->setNeedsLayout();
    return &previous;
}

void UINavigationController::concealPrevious()
{
    if (m_contentView)
        removeAllBut(*m_stack.back()->view());
}

void UINavigationController::removeAllBut(const UIView& view)
{
    for (const auto subviews = m_contentView->subviews(); const auto& other : subviews) {
        if (other.get() != &view && other != m_navigationBar)
            other->removeFromSuperview();
    }
}

void UINavigationController::showTop()
{
    const auto top = m_stack.back();
    const auto view = top->view();
    removeAllBut(*view);
    if (view->superview() != m_contentView.get())
        m_contentView->insertSubview(view, 0);
    std::function<void()> back;
    if (m_stack.size() > 1) {
        back = [stack = WeakLink<UINavigationController>(this)] {
            if (stack)
                stack->popViewController(true);
        };
    }
    m_navigationBar->show(top->navigationItem(), std::move(back));
    m_contentView->setNeedsLayout();
}

void UINavigationController::layOut()
{
    const auto size = m_contentView->bounds().size;
    m_navigationBar->setFrame({0, 0, size.width, UINavigationBar::height});
    for (const auto& screen : m_stack) {
        if (screen->isViewLoaded() && screen->m_view->superview() == m_contentView.get())
            place(*screen);
    }
}

void UINavigationController::place(const UIViewController& screen)
{
    const auto size = m_contentView->bounds().size;
    const bool isBeneathBar = screen.edgesForExtendedLayout() != UIRectEdge::none;
    const double y = isBeneathBar ? 0 : UINavigationBar::height;
    const CGRect frame {0, y, size.width, std::max(0.0, size.height - y)};
    const bool isNew = screen.m_view->frame() != frame;
    if (auto* scrollView = scrollViewOf(*screen.m_view)) {
        // One that has no frame yet will fill the view, most likely; its layout tells.
        const bool hasNoFrame = scrollView->frame().size == CGSize {};
        const bool isFilled = hasNoFrame || scrollView == screen.m_view.get()
            || scrollView->frame() == CGRect {CGPoint {}, screen.m_view->frame().size};
        scrollView->setAdjustedContentInset({.top = isBeneathBar && isFilled ? UINavigationBar::height : 0});
        if (hasNoFrame && isNew)
            m_contentView->setNeedsLayout();
    }
    screen.m_view->setFrame(frame);
}

} // namespace kova
