// The bar at the top of a navigation stack: title in the middle, a button on either side.
//
// On every screen but the root's, one without a left button of its own gets a back button.

#pragma once

#include "Platform/UIKit/UINavigationItem.h"
#include "Platform/UIKit/UIView.h"

namespace kova {

class UIButton;
class UILabel;

class UINavigationBar : public UIView {
public:
    /// In points.
    static constexpr double height = 44;

    UINavigationBar();

    /// The colour of the buttons.
    [[nodiscard]] const UIColor& tintColor() const { return m_tintColor; }
    void setTintColor(UIColor color);
    /// The colour of the bar; none: the platform's own.
    [[nodiscard]] const std::optional<UIColor>& barTintColor() const { return m_barTintColor; }
    void setBarTintColor(std::optional<UIColor> color);
    /// The text attributes of the title; its foreground colour is the one that is used here.
    [[nodiscard]] const UIColor& titleTextForegroundColor() const { return m_titleColor; }
    void setTitleTextForegroundColor(UIColor color);
    /// Whether content that lies beneath shines through.
    [[nodiscard]] bool isTranslucent() const { return m_isTranslucent; }
    void setTranslucent(bool translucent) { assign(m_isTranslucent, translucent); }

    /// Shows a screen's item. `back` is what a back button does, none on the root.
    void show(UINavigationItem& item, std::function<void()> back);
    [[nodiscard]] const std::string& shownTitle() const;
    /// The views at either side, null where there is none: the item's view, or the back button on the left.
    [[nodiscard]] UIView* leftView() const;
    [[nodiscard]] UIView* rightView() const;

protected:
    void layoutSubviews() override;

private:
    UIColor m_tintColor = UIColor::blueColor();
    std::optional<UIColor> m_barTintColor;
    UIColor m_titleColor = UIColor::blackColor();
    bool m_isTranslucent = true;
    std::shared_ptr<UILabel> m_titleLabel;
    std::shared_ptr<UIView> m_leftView;
    std::shared_ptr<UIView> m_rightView;
};

} // namespace kova
