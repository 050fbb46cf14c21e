#include "Host/HostScreen.h"

namespace kova::host {

namespace {

// Where the button stands, in points.
const CGRect buttonFrame {20, 100, 120, 40};

} // namespace

HostScreen::HostScreen()
    : m_bell(std::make_shared<UIBarButtonItem>("🔔", this, [this] { openCentre(); }))
    , m_button(std::make_shared<CentralButton>(buttonFrame))
{
    setTitle("Kova");
    navigationItem().setRightBarButtonItem(m_bell);
    m_button->setTitle("Notificações", UIControlState::normal);
    m_button->addTarget(this, [this] { openCentre(); }, UIControlEvents::touchUpInside);
}

void HostScreen::loadView()
{
    UIViewController::loadView();
    view()->setBackgroundColor(UIColor::whiteColor());
    view()->addSubview(m_button);
}

void HostScreen::openCentre()
{
    CentralCoordinator {shared_from_this()}.start();
}

} // namespace kova::host
