// A screen: its view, its life cycle, and the screens it presents.
//
// The view is loaded on first need. Appearing and disappearing come in pairs, in the platform's order: the one that
// leaves hears viewWillDisappear before the other's viewWillAppear, and viewDidDisappear before its viewDidAppear. A
// transition of the model is over when the call that began it returns; a drawing platform may still be drawing it.
// A presented screen is owned by its presenter, a pushed one by its stack, so what is closed goes away. Main thread
// only.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UINavigationItem.h"
#include "Platform/UIKit/UIView.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace kova {

class UINavigationController;
class UIWindow;

/// The platform's numbers.
enum class UIModalPresentationStyle {
    /// As a sheet: the presenter stays beneath.
    automatic = -2,
    /// The presenter leaves the screen.
    fullScreen = 0,
    pageSheet = 1,
    overFullScreen = 5,
    /// The presenter's content stays in place beneath.
    overCurrentContext = 6,
};

/// Bits: the edges over which a screen's view extends beneath bars.
enum class UIRectEdge : unsigned { none = 0, all = 15 };
enum class UIStatusBarStyle { default_ = 0, lightContent = 1 };

class KOVA_EXPORT UIViewController : public Linkable, public std::enable_shared_from_this<UIViewController> {
public:
    UIViewController();
    ~UIViewController() override;

    [[nodiscard]] const std::shared_ptr<UIView>& view();
    void setView(std::shared_ptr<UIView> view);
    [[nodiscard]] bool isViewLoaded() const { return m_view != nullptr; }
    void loadViewIfNeeded();

    /// Also the title of the navigation item.
    [[nodiscard]] const std::optional<std::string>& title() const { return m_title; }
    void setTitle(std::optional<std::string> title);
    [[nodiscard]] UINavigationItem& navigationItem() { return m_navigationItem; }
    [[nodiscard]] UIModalPresentationStyle modalPresentationStyle() const { return m_modalPresentationStyle; }
    void setModalPresentationStyle(UIModalPresentationStyle style) { m_modalPresentationStyle = style; }
    [[nodiscard]] UIRectEdge edgesForExtendedLayout() const { return m_edgesForExtendedLayout; }
    void setEdgesForExtendedLayout(UIRectEdge edges);
    [[nodiscard]] virtual UIStatusBarStyle preferredStatusBarStyle() const { return UIStatusBarStyle::default_; }

    /// The stack this screen is in, null when in none.
    [[nodiscard]] UINavigationController* navigationController() const;
    [[nodiscard]] UIViewController* parent() const { return m_parent.get(); }
    [[nodiscard]] const std::shared_ptr<UIViewController>& presentedViewController() const { return m_presented; }
    /// Who presents this screen, or the stack it is in.
    [[nodiscard]] UIViewController* presentingViewController() const;
    /// From before viewWillAppear() until before viewWillDisappear().
    [[nodiscard]] bool isOnScreen() const
    {
        return m_appearance == Appearance::Appearing || m_appearance == Appearance::Shown;
    }

    /// Shows a screen over this one; what presents it is the outermost stack this screen is in. When that is presenting
    /// already, that is said once and nothing happens. The completion runs once the new screen has appeared, before the
    /// call returns. A presenter that no window shows keeps the screen for when one does.
    void present(const std::shared_ptr<UIViewController>& viewController, bool animated,
        const std::function<void()>& completion = {});
    /// Closes what this screen, or a stack it is in, presents, and all that lies above. Where nothing is presented, the
    /// screen is closed itself, with the stack it is in; one that nobody presents stays.
    void dismiss(bool animated, const std::function<void()>& completion = {});

protected:
    /// Makes the view; overrides call setView().
    virtual void loadView();
    virtual void viewDidLoad() { }
    virtual void viewWillAppear(bool animated);
    virtual void viewDidAppear(bool animated);
    virtual void viewWillDisappear(bool animated);
    virtual void viewDidDisappear(bool animated);

    /// What was presented from here has been closed; a stack passes it on to its topmost screen. For presenters that
    /// stay beneath, which do not appear again.
    virtual void presentationDidEnd() { }

    /// The screen that appears and disappears with this one, null for none.
    [[nodiscard]] virtual UIViewController* childForAppearance() const { return nullptr; }

    /// Gets ready what must be there before the screen appears: its view.
    virtual void prepareForAppearance() { loadViewIfNeeded(); }

private:
    friend class ScreenTransition;
    friend class UINavigationController;
    friend class UIWindow;

    enum class Appearance { Gone, Appearing, Shown, Leaving };

    [[nodiscard]] UIViewController& outermost();
    /// The window that shows the screen, or shows what is presented over it.
    [[nodiscard]] UIWindow* showingWindow();
    /// Whether it has a place in a stack, a window or above another screen.
    [[nodiscard]] bool isPlaced() const;
    void dismissPresented(bool animated);
    void beginAppearance(bool appears, bool animated);
    void endAppearance(bool appears, bool animated);
    /// The handlers that run may have changed it, so it is asked each time.
    [[nodiscard]] std::shared_ptr<UIViewController> sharedChild() const;

    std::shared_ptr<UIView> m_view;
    std::optional<std::string> m_title;
    UINavigationItem m_navigationItem;
    UIModalPresentationStyle m_modalPresentationStyle = UIModalPresentationStyle::automatic;
    UIRectEdge m_edgesForExtendedLayout = UIRectEdge::all;
    WeakLink<UIViewController> m_parent;
    WeakLink<UIViewController> m_presenter;
    std::shared_ptr<UIViewController> m_presented;
    /// The window whose root this is.
    WeakLink<UIWindow> m_window;
    Appearance m_appearance = Appearance::Gone;
    bool m_isDismissing = false;
    bool m_hasRefused = false;
};

} // namespace kova
