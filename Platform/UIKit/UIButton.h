// A button with a title in its middle, or a symbol that stands for it.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIControl.h"
#include "Platform/UIKit/UIFont.h"
#include "Platform/UIKit/UILabel.h"

namespace kova {

enum class UIControlState : unsigned { normal = 0 };
/// A picture of the platform's own.
enum class UIButtonSymbol { none, trash };

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

    /// Drawn in the title's colour in place of the title, which assistive technology still says.
    [[nodiscard]] UIButtonSymbol symbol() const { return m_symbol; }
    void setSymbol(UIButtonSymbol symbol);
    /// The symbol's square, centred in the button.
    [[nodiscard]] CGRect symbolFrame() const;

    /// The title's size with 6 points above and below it; a symbol has 24 points a side.
    [[nodiscard]] CGSize intrinsicContentSize() const override;
    [[nodiscard]] CGSize sizeThatFits(CGSize size) const override;

protected:
    void layoutSubviews() override;

private:
    std::shared_ptr<UILabel> m_titleLabel;
    UIButtonSymbol m_symbol = UIButtonSymbol::none;
};

} // namespace kova
