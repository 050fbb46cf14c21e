// A stack of screens under one bar; the topmost is seen.
//
// The topmost screen's view fills the stack's, beneath the bar where the screen extends over the top edge (a scroll
// view that fills it is then inset by the bar's height), below it where it does not.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UINavigationBar.h"
#include "Platform/UIKit/UIViewController.h"

#include <vector>

namespace kova {

class KOVA_EXPORT UINavigationController : public UIViewController {
public:
    explicit UINavigationController(std::shared_ptr<UIViewController> rootViewController);
    ~UINavigationController() override;

    /// From the root to the topmost.
    [[nodiscard]] const std::vector<std::shared_ptr<UIViewController>>& viewControllers() const { return m_stack; }
    [[nodiscard]] UIViewController& topViewController() const { return *m_stack.back(); }
    [[nodiscard]] UINavigationBar& navigationBar() const { return *m_navigationBar; }

    void pushViewController(const std::shared_ptr<UIViewController>& viewController, bool animated);
    // At the root they do nothing.
    void popViewController(bool animated);
    void popToRootViewController(bool animated);

    /// Has the screen beneath the topmost one seen behind it, where the topmost is dragged aside and may be popped or
    /// not. The screens hear nothing of it. Null at the root and when the stack is not on screen.
    UIViewController* revealPrevious();
    /// The end of that, unless the topmost has been popped or covered meanwhile.
    void concealPrevious();

protected:
    void loadView() override;
    void prepareForAppearance() override;
    [[nodiscard]] UIViewController* childForAppearance() const override { return m_stack.back().get(); }
    void presentationDidEnd() override { m_stack.back()->presentationDidEnd(); }

private:
    using Screens = std::vector<std::shared_ptr<UIViewController>>;
    class ContentView;

    void pop(std::size_t remaining, bool animated);
    void showTop();
    void showTopAgain();
    void removeAllBut(const UIView& view);
    void layOut();
    void place(const UIViewController& screen);

    Screens m_stack;
    std::shared_ptr<UINavigationBar> m_navigationBar;
    std::shared_ptr<ContentView> m_contentView;
};

} // namespace kova
