// The host's window: a phone's screen with the host's own screen in it, drawn or not.
//
// Main queue only, but for run(), which is the main queue.

#pragma once

#include "Host/HostScreen.h"
#include "Platform/UIKit/UIWindow.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>

namespace kova::host {

class HostWindow {
public:
    static constexpr CGSize defaultSize {.width = 390, .height = 844};

    virtual ~HostWindow() = default;

    [[nodiscard]] virtual UIWindow& window() = 0;
    [[nodiscard]] HostScreen& screen() { return *m_screen; }
    virtual void resize(CGSize size) = 0;

    /// Runs the main queue on the calling thread until a stop is requested, or the user closes the window.
    virtual void run(const std::stop_token& stop) = 0;

    /// Waits until everything stands still and saves what is seen as a PNG file. Throws NotSettled, or
    /// std::runtime_error when it cannot be written.
    virtual void saveScreenshot(const std::filesystem::path& file) = 0;

protected:
    explicit HostWindow(std::shared_ptr<HostScreen> screen)
        : m_screen(std::move(screen))
    {
    }

    std::shared_ptr<HostScreen> m_screen;
};

/// A window that is drawn, on the screen or, where there is none and `isOffscreen`, in memory. Throws
/// std::runtime_error when there is no screen, or this host was built without Qt. Made by the thread that will run()
/// it.
[[nodiscard]] std::unique_ptr<HostWindow> openDrawnWindow(const std::shared_ptr<HostScreen>& screen, bool isOffscreen);

} // namespace kova::host
