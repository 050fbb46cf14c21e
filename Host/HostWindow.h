// The host's window: a phone's screen with the host's own screen in it.
//
// Nothing is drawn: the window is laid out after each turn of the main queue in which something changed, as a drawing
// platform would do before it paints. Main queue only.

#pragma once

#include "Host/HostScreen.h"
#include "Platform/UIKit/UIWindow.h"
#include "Platform/UIKit/UIWindowObserver.h"

#include <memory>

namespace kova::host {

class HostWindow : private UIWindowObserver {
public:
    static constexpr CGSize defaultSize {.width = 390, .height = 844};

    HostWindow();
    ~HostWindow() override;

    [[nodiscard]] UIWindow& window() { return *m_window; }
    [[nodiscard]] HostScreen& screen() { return *m_screen; }

private:
    void viewDidChange(UIView& view, UIChange change) override;
    void viewWillLeave(UIView&) override { }

    std::shared_ptr<UIWindow> m_window;
    std::shared_ptr<HostScreen> m_screen;
    bool m_isLayoutPending = false;
};

} // namespace kova::host
