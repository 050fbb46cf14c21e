// The in-app browser: a screen that shows one page and is closed by its user.

#pragma once

#include "Platform/Foundation/URL.h"
#include "Platform/UIKit/UIViewController.h"

namespace kova {

class SFSafariViewController : public UIViewController {
public:
    explicit SFSafariViewController(URL url);

    /// What it shows. A drawing platform loads http and https only.
    [[nodiscard]] const URL& url() const { return m_url; }

protected:
    /// A bar with the address and the button that closes the screen, over the page.
    void loadView() override;

private:
    URL m_url;
};

} // namespace kova
