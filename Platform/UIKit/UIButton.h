// A button with a title in its middle.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIControl.h"
#include "Platform/UIKit/UIFont.h"
#include "Platform/UIKit/UILabel.h"

namespace kova {

enum class UIControlState : unsigned { normal = 0 };

class KOVA_EXPORT UIButton : public UIControl {
public:
    UIButton();
    explicit UIButton(const CGRect& frame);

    [[nodiscard]] const std::optional<std::string>& title(UIControlState forState = UIControlState::normal) const;
    void setTitle(std::optional<std::string> title, UIControlState forState);
    [[nodiscard]] const UIColor& titleColor(UIControlState forState = UIControlState::normal) const;
    void setTitleColor(UIColor color, UIControlState forState);
    /// The label that shows the title, centred in the button. Its font is the host's to set.
    [[nodiscard]] UILabel& titleLabel() const { return *m_titleLabel; }

    /// The title's size with 6 points above and below it.
    [[nodiscard]] CGSize intrinsicContentSize() const override;
    [[nodiscard]] CGSize sizeThatFits(CGSize size) const override;

protected:
    void layoutSubviews() override;

private:
    std::shared_ptr<UILabel> m_titleLabel;
};

} // namespace kova
