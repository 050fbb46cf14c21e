// The top of the tree of views: the area in which a host shows its screens.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIView.h"

namespace kova {

class UIViewController;
class UIWindowObserver;

class KOVA_EXPORT UIWindow : public UIView {
public:
    explicit UIWindow(const CGRect& frame);
    /// Takes its screens off; they hear that they disappear.
    ~UIWindow() override;

    [[nodiscard]] const std::shared_ptr<UIViewController>& rootViewController() const { return m_rootViewController; }
    /// Shows a screen in place of the one before; null shows none.
    void setRootViewController(std::shared_ptr<UIViewController> viewController);
    /// The screen on top: follows what is presented, and within a stack its topmost screen. Null when there is none.
    [[nodiscard]] UIViewController* topViewController() const;

    /// The one who draws the window, null for none; it must outlive the window or be taken off before.
    [[nodiscard]] UIWindowObserver* observer() const { return m_observer; }
    void setObserver(UIWindowObserver* observer) { m_observer = observer; }

protected:
    /// Every screen fills the window.
    void layoutSubviews() override;
    [[nodiscard]] UIWindow* asWindow() override { return this; }

private:
    friend class ScreenTransition;

    /// Has these screens' views in the window, the first beneath, beneath whatever else there is.
    void stack(const std::vector<std::shared_ptr<UIViewController>>& screens);

    std::shared_ptr<UIViewController> m_rootViewController;
    UIWindowObserver* m_observer = nullptr;
};

} // namespace kova
