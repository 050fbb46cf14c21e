// A window that nobody draws.
//
// It is laid out after each turn of the main queue in which something changed, as a drawing platform would do before it
// paints.

#pragma once

#include "Host/HostWindow.h"
#include "Platform/UIKit/UIWindowObserver.h"

#include <memory>

namespace kova::host {

class HeadlessWindow final : public HostWindow, private UIWindowObserver {
public:
    explicit HeadlessWindow(std::shared_ptr<HostScreen> screen);
    ~HeadlessWindow() override;

    [[nodiscard]] UIWindow& window() override { return *m_window; }
    void resize(CGSize size) override { m_window->setFrame({{}, size}); }
    void run(const std::stop_token& stop) override;
    void saveScreenshot(const std::filesystem::path& file) override;

private:
    void viewDidChange(UIView& view, UIChange change) override;
    void viewWillLeave(UIView&) override { }

    std::shared_ptr<UIWindow> m_window;
    bool m_isLayoutPending = false;
};

} // namespace kova::host
