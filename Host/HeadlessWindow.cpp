#include "Host/HeadlessWindow.h"

#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/UIKit/UINavigationController.h"

#include <stdexcept>
#include <utility>

namespace kova::host {

HeadlessWindow::HeadlessWindow(std::shared_ptr<HostScreen> screen)
    : HostWindow(std::move(screen))
    , m_window(std::make_shared<UIWindow>(CGRect {{}, defaultSize}))
{
    m_window->setObserver(this);
    m_window->setRootViewController(std::make_shared<UINavigationController>(m_screen));
    m_window->layoutIfNeeded();
}

HeadlessWindow::~HeadlessWindow()
{
    m_window->setObserver(nullptr);
}

void HeadlessWindow::run(const std::stop_token& stop)
{
    DispatchQueue::runMain(stop);
}

void HeadlessWindow::saveScreenshot(const std::filesystem::path&)
{
    throw std::runtime_error {"there is nothing to see without --window"};
}

void HeadlessWindow::viewDidChange(UIView&, UIChange change)
{
    if (change != UIChange::Layout || m_isLayoutPending)
        return;
    m_isLayoutPending = true;
    DispatchQueue::main().async([this, window = std::weak_ptr {m_window}] {
        const auto alive = window.lock();
        if (!alive)
            return;
        m_isLayoutPending = false;
        alive->layoutIfNeeded();
    });
}

} // namespace kova::host
