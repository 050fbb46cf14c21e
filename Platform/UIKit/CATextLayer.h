// One line of text in a tree of layers.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/CALayer.h"
#include "Platform/UIKit/NSTextAlignment.h"

#include <string>

namespace kova {

class KOVA_EXPORT CATextLayer : public CALayer {
public:
    [[nodiscard]] const std::string& string() const { return m_string; }
    void setString(std::string string) { assign(m_string, std::move(string)); }
    [[nodiscard]] double fontSize() const { return m_fontSize; }
    void setFontSize(double size) { assign(m_fontSize, size); }
    [[nodiscard]] NSTextAlignment alignmentMode() const { return m_alignmentMode; }
    void setAlignmentMode(NSTextAlignment mode) { assign(m_alignmentMode, mode); }
    [[nodiscard]] const UIColor& foregroundColor() const { return m_foregroundColor; }
    void setForegroundColor(UIColor color) { assign(m_foregroundColor, color); }

private:
    std::string m_string;
    double m_fontSize = 36;
    NSTextAlignment m_alignmentMode = NSTextAlignment::left;
    UIColor m_foregroundColor = UIColor::whiteColor();
};

} // namespace kova
