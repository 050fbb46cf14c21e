// The host's own screen, over which the centre is presented: a bell in the bar and a button, both with a badge.

#pragma once

#include "KovaSDK/KovaSDK.h"
#include "Platform/UIKit/UIViewController.h"

#include <memory>

namespace kova::host {

class HostScreen : public UIViewController {
public:
    HostScreen();

    [[nodiscard]] UIBarButtonItem& bell() { return *m_bell; }
    [[nodiscard]] CentralButton& button() { return *m_button; }

    /// What the bell and the button do.
    void openCentre();

protected:
    void loadView() override;

private:
    std::shared_ptr<UIBarButtonItem> m_bell;
    std::shared_ptr<CentralButton> m_button;
};

} // namespace kova::host
