// What a view draws beneath its content, and the tree of shapes and texts that may hang on it.
//
// Every view has one root layer, whose frame is the view's. Main thread only.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/CGGeometry.h"
#include "Platform/UIKit/UIColor.h"
#include "Platform/UIKit/WeakLink.h"

#include <memory>
#include <optional>
#include <vector>

namespace kova {

class UIView;

class KOVA_EXPORT CALayer : public Linkable {
public:
    CALayer() = default;
    ~CALayer() override;

    [[nodiscard]] const std::vector<std::shared_ptr<CALayer>>& sublayers() const { return m_sublayers; }
    [[nodiscard]] CALayer* superlayer() const { return m_superlayer; }
    /// Adds a layer on top; one that hangs elsewhere is taken from there.
    void addSublayer(std::shared_ptr<CALayer> layer);
    void removeFromSuperlayer();

    /// In the coordinates of the layer above it.
    [[nodiscard]] const CGRect& frame() const { return m_frame; }
    void setFrame(const CGRect& frame);
    [[nodiscard]] double cornerRadius() const { return m_cornerRadius; }
    void setCornerRadius(double radius);
    /// Whether what is drawn outside the (rounded) bounds is cut off.
    [[nodiscard]] bool masksToBounds() const { return m_masksToBounds; }
    void setMasksToBounds(bool masks);
    [[nodiscard]] const std::optional<UIColor>& backgroundColor() const { return m_backgroundColor; }
    void setBackgroundColor(std::optional<UIColor> color);
    /// Pixels a point.
    [[nodiscard]] double contentsScale() const { return m_contentsScale; }
    void setContentsScale(double scale);

protected:
    /// Tells the view on which this tree of layers hangs that it looks different now.
    void didChange();
    template <typename T> void assign(T& property, T value);

private:
    friend class UIView;

    std::vector<std::shared_ptr<CALayer>> m_sublayers;
    CALayer* m_superlayer = nullptr;
    /// The view whose root layer this is.
    UIView* m_view = nullptr;
    CGRect m_frame {};
    double m_cornerRadius = 0;
    bool m_masksToBounds = false;
    std::optional<UIColor> m_backgroundColor;
    double m_contentsScale = 1;
};

template <typename T> void CALayer::assign(T& property, T value)
{
    if (property == value)
        return;
    property = std::move(value);
    didChange();
}

} // namespace kova
