// A filled and outlined shape.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/CALayer.h"
#include "Platform/UIKit/CGPath.h"

namespace kova {

class KOVA_EXPORT CAShapeLayer : public CALayer {
public:
    [[nodiscard]] const std::optional<CGPath>& path() const { return m_path; }
    void setPath(std::optional<CGPath> path) { assign(m_path, path); }
    [[nodiscard]] const UIColor& fillColor() const { return m_fillColor; }
    void setFillColor(UIColor color) { assign(m_fillColor, color); }
    [[nodiscard]] const std::optional<UIColor>& strokeColor() const { return m_strokeColor; }
    void setStrokeColor(std::optional<UIColor> color) { assign(m_strokeColor, color); }

private:
    std::optional<CGPath> m_path;
    UIColor m_fillColor = UIColor::blackColor();
    std::optional<UIColor> m_strokeColor;
};

} // namespace kova
