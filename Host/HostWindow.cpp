#include "Host/HostWindow.h"

#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/UIKit/UINavigationController.h"

namespace kova::host {

HostWindow::HostWindow()
    : m_window(std::make_shared<UIWindow>(CGRect {{}, defaultSize}))
    , m_screen(std::make_shared<HostScreen>())
{
    m_window->setObserver(this);
    m_window->setRootViewController(std::make_shared<UINavigationController>(m_screen));
    m_window->layoutIfNeeded();
}

HostWindow::~HostWindow()
{
    m_window->setObserver(nullptr);
}

void HostWindow::viewDidChange(UIView&, UIChange change)
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
