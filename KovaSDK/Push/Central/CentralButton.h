// A button with a text badge on its top right corner, for the host to open the centre with.
//
// Main thread only.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIButton.h"

#include <memory>
#include <optional>
#include <string>

namespace kova {

class NSCoder;

class KOVA_EXPORT CentralButton : public UIButton {
public:
    /// Shows no badge yet.
    explicit CentralButton(const CGRect& frame);
    /// Stops the process: the button is made in code only.
    explicit CentralButton(const NSCoder& coder);

    /// The view that shows the badge.
    std::shared_ptr<UILabel> badgeLabel = std::make_shared<UILabel>();

    /// The badge's text; none hides the badge, the empty text shows one of the least size.
    [[nodiscard]] const std::optional<std::string>& badge() const { return m_badge; }
    /// Places the badge anew, with the looks that the fields below have now.
    void setBadge(std::optional<std::string> badge);

    // A change of these is seen with the next setBadge().

    UIColor badgeBackgroundColor = UIColor::redColor();
    UIColor badgeTextColor = UIColor::whiteColor();
    UIFont badgeFont = UIFont::systemFont(12);
    /// Moves the badge relative to the button's bounds; without them its centre is the top right corner.
    std::optional<UIEdgeInsets> badgeEdgeInsets;

    /// Lays the badge out for a text, which badge() does not take over.
    void addBadgeToButton(const std::optional<std::string>& badge);

private:
    std::optional<std::string> m_badge;
};

} // namespace kova
