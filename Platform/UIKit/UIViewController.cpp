#include "Platform/UIKit/UIViewController.h"

#include "Platform/Foundation/Print.h"
#include "Platform/UIKit/KeepAlive.h"
#include "Platform/UIKit/ScreenTransition.h"
#include "Platform/UIKit/UINavigationController.h"
#include "Platform/UIKit/UIWindow.h"

#include <cstdio>
#include <utility>

namespace kova {

UIViewController::UIViewController() = default;

UIViewController::~UIViewController() = default;

const std::shared_ptr<UIView>& UIViewController::view()
{
    loadViewIfNeeded();
    return m_view;
}

void UIViewController::setView(std::shared_ptr<UIView> view)
{
    const auto before = std::exchange(m_view, std::move(view));
    if (before && before != m_view && before->superview())
        before->removeFromSuperview();
}

void UIViewController::loadViewIfNeeded()
{
    if (m_view)
        return;
    loadView();
    if (!m_view)
        fatalError("loadView() of a screen has to set its view");
    viewDidLoad();
}

void UIViewController::loadView()
{
    setView(std::make_shared<UIView>());
}

void UIViewController::viewWillAppear(bool)
{
}
void UIViewController::viewDidAppear(bool)
{
}
void UIViewController::viewWillDisappear(bool)
{
}
void UIViewController::viewDidDisappear(bool)
{
}

void UIViewController::setTitle(std::optional<std::string> title)
{
    m_title = std::move(title);
    m_navigationItem.setTitle(m_title);
}

void UIViewController::setEdgesForExtendedLayout(UIRectEdge edges)
{
    m_edgesForExtendedLayout = edges;
    if (m_view && m_view->superview())
        m_view->superview()->setNeedsLayout();
}

UINavigationController* UIViewController::navigationController() const
{
    for (auto* above = m_parent.get(); above; above = above->m_parent.get()) {
        if (auto* stack = dynamic_cast<UINavigationController*>(above))
            return stack;
    }
    return nullptr;
}

UIViewController* UIViewController::presentingViewController() const
{
    const auto* screen = this;
    while (!screen->m_presenter && screen->m_parent)
        screen = screen->m_parent.get();
    return screen->m_presenter.get();
}

UIViewController& UIViewController::outermost()
{
    auto* screen = this;
    while (screen->m_parent)
        screen = screen->m_parent.get();
    return *screen;
}

UIWindow* UIViewController::showingWindow()
{
    auto* screen = &outermost();
    while (screen->m_presenter)
        screen = &screen->m_presenter->outermost();
    return screen->m_window.get();
}

bool UIViewController::isPlaced() const
{
    return m_parent || m_presenter || m_window;
}

void UIViewController::present(
    const std::shared_ptr<UIViewController>& viewController, bool animated, const std::function<void()>& completion)
{
    auto& presenter = outermost();
    if (!viewController || presenter.m_presented || viewController->isPlaced() || viewController.get() == &presenter) {
        if (!std::exchange(presenter.m_hasRefused, true))
            std::fputs(
                "A screen cannot be presented: its presenter presents one already, or it is shown already.\n", stderr);
        return;
    }
    const auto self = keepAlive(presenter);
    auto* window = presenter.showingWindow();
    const auto before = window ? ScreenTransition::shown(*window) : ScreenTransition::Screens {};
    viewController->m_presenter = &presenter;
    presenter.m_presented = viewController;
    if (window) {
        ScreenTransition transition {window, animated};
        transition.announce(UITransition::Kind::Present, ScreenTransition::innermost(&presenter), *viewController);
        transition.runInWindow(before, ScreenTransition::shown(*window), [] { });
    }
    if (completion)
        completion();
}

void UIViewController::dismiss(bool animated, const std::function<void()>& completion)
{
    auto* presenter = this;
    while (!presenter->m_presented && presenter->m_parent)
        presenter = presenter->m_parent.get();
    if (!presenter->m_presented)
        presenter = presenter->m_presenter.get();
    if (!presenter || presenter->m_isDismissing)
        return;
    const auto self = keepAlive(*this);
    const auto presenterItself = keepAlive(*presenter);
    presenter->dismissPresented(animated);
    presenter->presentationDidEnd();
    if (completion)
        completion();
}

void UIViewController::dismissPresented(bool animated)
{
    // From the bottom; they live until all of them have heard that they are gone.
    ScreenTransition::Screens closing;
    for (auto screen = m_presented; screen; screen = screen->m_presented)
        closing.push_back(screen);
    const auto unlink = [&] {
        for (const auto& screen : closing) {
            if (auto* presenter = screen->m_presenter.get())
                presenter->m_presented = nullptr;
            screen->m_presenter = nullptr;
        }
    };
    auto* window = showingWindow();
    if (!window)
        return unlink();
    m_isDismissing = true;
    ScreenTransition transition {window, animated};
    transition.announce(UITransition::Kind::Dismiss, window->topViewController(), *this);
    transition.runInWindow(ScreenTransition::shown(*window), ScreenTransition::shown(*window, this), [&] {
        unlink();
        m_isDismissing = false;
    });
}

void UIViewController::beginAppearance(bool appears, bool animated)
{
    if (appears == isOnScreen())
        return;
    m_appearance = appears ? Appearance::Appearing : Appearance::Leaving;
    if (appears)
        viewWillAppear(animated);
    else
        viewWillDisappear(animated);
    if (const auto child = sharedChild())
        child->beginAppearance(appears, animated);
}

void UIViewController::endAppearance(bool appears, bool animated)
{
    if (m_appearance != (appears ? Appearance::Appearing : Appearance::Leaving))
        return;
    m_appearance = appears ? Appearance::Shown : Appearance::Gone;
    if (appears)
        viewDidAppear(animated);
    else
        viewDidDisappear(animated);
    if (const auto child = sharedChild())
        child->endAppearance(appears, animated);
}

std::shared_ptr<UIViewController> UIViewController::sharedChild() const
{
    auto* child = childForAppearance();
    return child ? child->weak_from_this().lock() : nullptr;
}

} // namespace kova
