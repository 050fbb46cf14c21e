// The in-app browser: a screen that shows one page and is closed by its user.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/URL.h"
#include "Platform/UIKit/UIViewController.h"

#include <string>

namespace kova {

class UIButton;

class KOVA_EXPORT SFSafariViewController : public UIViewController {
public:
    explicit SFSafariViewController(URL url);
    ~SFSafariViewController() override;

    /// What it shows. A drawing platform loads http and https only.
    [[nodiscard]] const URL& url() const { return m_url; }
    /// Where the page has led its user: the bar tells it from then on. Once the view is loaded.
    void setShownAddress(const std::string& address);
    /// The empty area below the bar, in which a drawing platform shows the page; null until the view is loaded.
    [[nodiscard]] UIView* pageView() const;
    /// Closes the screen; null until the view is loaded.
    [[nodiscard]] UIButton* closeButton() const;

protected:
    /// A bar with the address and the button that closes the screen, over the page.
    void loadView() override;

private:
    class ContentView;

    URL m_url;
    std::shared_ptr<ContentView> m_contentView;
};

} // namespace kova
