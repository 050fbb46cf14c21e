#include "Platform/UIKit/CALayer.h"

#include "Platform/Foundation/Print.h"
#include "Platform/UIKit/UIView.h"

#include <algorithm>
#include <utility>

namespace kova {

CALayer::~CALayer()
{
    for (const auto& layer : m_sublayers)
        layer->m_superlayer = nullptr;
}

void CALayer::addSublayer(std::shared_ptr<CALayer> layer)
{
    for (const auto* above = this; above; above = above->m_superlayer) {
        if (!layer || above == layer.get())
            fatalError("a layer can be put neither into itself nor beneath itself, and must not be null");
    }
    layer->removeFromSuperlayer();
    layer->m_superlayer = this;
    m_sublayers.push_back(std::move(layer));
    didChange();
}

void CALayer::removeFromSuperlayer()
{
    if (!m_superlayer)
        return;
    auto& above = *std::exchange(m_superlayer, nullptr);
    const auto found
        = std::ranges::find_if(above.m_sublayers, [this](const auto& layer) { return layer.get() == this; });
    // The last reference may be the one in the list; it goes when nothing here is touched any more.
    const auto self = std::move(*found);
    above.m_sublayers.erase(found);
    above.didChange();
}

void CALayer::setFrame(const CGRect& frame)
{
    if (m_view)
        m_view->setFrame(frame);
    else
        assign(m_frame, frame);
}

void CALayer::setCornerRadius(double radius)
{
    assign(m_cornerRadius, radius);
}

void CALayer::setMasksToBounds(bool masks)
{
    assign(m_masksToBounds, masks);
}

void CALayer::setBackgroundColor(std::optional<UIColor> color)
{
    assign(m_backgroundColor, color);
}

void CALayer::setContentsScale(double scale)
{
    assign(m_contentsScale, scale);
}

void CALayer::didChange()
{
    const auto* root = this;
    while (root->m_superlayer)
        root = root->m_superlayer;
    if (root->m_view)
        root->m_view->didChangeAppearance();
}

} // namespace kova
