// The host's own screen: a bakery's shop, from which every part of the SDK can be tried, and over which the centre is
// presented.
//
// Each of its buttons stands for a line of a host script, so what a finger does here a script can do, too. Main queue
// only.

#pragma once

#include "Host/TextList.h"
#include "KovaSDK/KovaSDK.h"
#include "Platform/UIKit/UIViewController.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kova::host {

class HostScreen : public UIViewController {
public:
    /// `payloads` has files with raw push payloads, which the shop offers to play; none: an empty folder name.
    explicit HostScreen(const std::filesystem::path& payloads = {});

    [[nodiscard]] UIBarButtonItem& bell() { return *m_bell; }
    [[nodiscard]] CentralButton& button() { return *m_button; }

    /// What the bell and the button do.
    void openCentre();

    /// Who carries out the script lines that the buttons stand for; until then they do nothing.
    void setPerformer(std::function<void(std::string line)> performer) { m_performer = std::move(performer); }
    void showLog(const std::vector<std::string>& lines) { m_log->append(lines); }
    /// From now on the badges follow the number of unread entries by themselves; before, only a script changes them.
    void keepBadges();

protected:
    void loadView() override;
    void viewDidLoad() override;
    void presentationDidEnd() override;

private:
    class Shop;

    void perform(const std::string& line);
    void refreshBadges();
    [[nodiscard]] std::shared_ptr<UIButton> makeButton(const std::string& title, std::string line);

    std::shared_ptr<UIBarButtonItem> m_bell;
    std::shared_ptr<CentralButton> m_button;
    std::vector<std::filesystem::path> m_payloads;
    std::shared_ptr<TextList> m_tray;
    std::shared_ptr<TextList> m_log;
    std::function<void(std::string)> m_performer;
    bool m_keepsBadges = false;
};

} // namespace kova::host
