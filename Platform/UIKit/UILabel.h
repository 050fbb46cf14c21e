// A text: one line that is cut at its tail, or several.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/NSTextAlignment.h"
#include "Platform/UIKit/UIFont.h"
#include "Platform/UIKit/UIView.h"

namespace kova {

class KOVA_EXPORT UILabel : public UIView {
public:
    using UIView::UIView;

    [[nodiscard]] const std::optional<std::string>& text() const { return m_text; }
    void setText(std::optional<std::string> text);
    [[nodiscard]] const UIFont& font() const { return m_font; }
    void setFont(UIFont font);
    [[nodiscard]] const UIColor& textColor() const { return m_textColor; }
    void setTextColor(UIColor color) { assign(m_textColor, color); }
    [[nodiscard]] NSTextAlignment textAlignment() const { return m_textAlignment; }
    void setTextAlignment(NSTextAlignment alignment) { assign(m_textAlignment, alignment); }
    /// How many lines at most; 0: as many as the text needs.
    [[nodiscard]] int numberOfLines() const { return m_numberOfLines; }
    void setNumberOfLines(int lines);

    /// The size of the text on one line, or broken where the text itself is. What the width that the constraints give
    /// makes of several lines is asked with sizeThatFits().
    [[nodiscard]] CGSize intrinsicContentSize() const override;
    [[nodiscard]] CGSize sizeThatFits(CGSize size) const override;

protected:
    [[nodiscard]] bool heightFollowsWidth() const override { return m_numberOfLines != 1; }

private:
    std::optional<std::string> m_text;
    UIFont m_font {};
    UIColor m_textColor = UIColor::blackColor();
    NSTextAlignment m_textAlignment = NSTextAlignment::left;
    int m_numberOfLines = 1;
};

} // namespace kova
