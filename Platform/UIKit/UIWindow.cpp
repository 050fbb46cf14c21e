#include "Platform/UIKit/UIWindow.h"

#include "Platform/Foundation/Print.h"
#include "Platform/UIKit/ScreenTransition.h"
#include "Platform/UIKit/UIViewController.h"

#include <utility>

namespace kova {

UIWindow::UIWindow(const CGRect& frame)
    : UIView(frame)
{
}

UIWindow::~UIWindow()
{
    setRootViewController(nullptr);
}

void UIWindow::setRootViewController(std::shared_ptr<UIViewController> viewController)
{
    if (viewController == m_rootViewController)
        return;
    if (viewController && viewController->isPlaced())
        fatalError("the root of a window must be shown nowhere else");
    const auto before = m_rootViewController;
    // What the old root presents goes with it.
    if (before && before->presentedViewController())
        before->dismissPresented(false);
    const auto shownBefore = ScreenTransition::shown(*this);
    m_rootViewController = std::move(viewController);
    if (m_rootViewController)
        m_rootViewController->m_window = this;
    ScreenTransition {this, false}.runInWindow(shownBefore, ScreenTransition::shown(*this), [&] {
        if (before)
            before->m_window = nullptr;
    });
}

UIViewController* UIWindow::topViewController() const
{
    auto* screen = m_rootViewController.get();
    while (screen && screen->presentedViewController())
        screen = screen->presentedViewController().get();
    return ScreenTransition::innermost(screen);
}

void UIWindow::stack(const std::vector<std::shared_ptr<UIViewController>>& screens)
{
    std::size_t level = 0;
    for (const auto& screen : screens) {
        if (level >= subviews().size() || subviews()[level] != screen->view())
            insertSubview(screen->view(), level);
        ++level;
    }
}

void UIWindow::layoutSubviews()
{
    for (const auto& screen : ScreenTransition::shown(*this))
        screen->view()->setFrame({CGPoint {}, bounds().size});
}

} // namespace kova
