// The bar at the top of a navigation stack: title in the middle, a button on either side.
//
// On every screen but the root's, one without a left button of its own gets a back button.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UINavigationItem.h"
#include "Platform/UIKit/UIView.h"

namespace kova {

class UIButton;
class UILabel;

class KOVA_EXPORT UINavigationBar : public UIView {
public:
    /// In points.
    static constexpr double height = 44;

    UINavigationBar();
    ~UINavigationBar() override;

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

    /// Shows a screen's item, and follows its changes until another is shown. `back` is what a back button does, none
    /// on the root.
    void show(UINavigationItem& item, std::function<void()> back);
    /// The item on show, null before the first.
    [[nodiscard]] UINavigationItem* shownItem() const { return m_item.get(); }
    [[nodiscard]] const std::string& shownTitle() const { return m_title; }
    /// The views at either side, null where there is none: the item's view, or the back button on the left.
    [[nodiscard]] UIView* leftView() const;
    [[nodiscard]] UIView* rightView() const;

protected:
    void layoutSubviews() override;

private:
    /// One end of the bar.
    struct Side {
        /// Null for nothing and for the back button.
        std::shared_ptr<UIBarButtonItem> item;
        std::shared_ptr<UIView> view;
    };

    void refresh();
    void show(Side& side, const std::shared_ptr<UIBarButtonItem>& item);
    void put(Side& side, std::shared_ptr<UIView> view);
    void clear(Side& side);
    void tint();
    [[nodiscard]] std::shared_ptr<UIButton> makeButton(const std::string& title, bool isBold) const;

    UIColor m_tintColor = UIColor::blueColor();
    std::optional<UIColor> m_barTintColor;
    UIColor m_titleColor = UIColor::blackColor();
    bool m_isTranslucent = true;
    WeakLink<UINavigationItem> m_item;
    std::function<void()> m_back;
    std::string m_title;
    std::shared_ptr<UILabel> m_titleLabel;
    std::shared_ptr<UIButton> m_backButton;
    Side m_left;
    Side m_right;
};

} // namespace kova
