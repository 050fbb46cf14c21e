#include "KovaSDK/Extensions/CAShapeLayer.h"

namespace kova {

void drawCircleAtLocation(CAShapeLayer& layer, CGPoint location, double withRadius, UIColor andColor, bool filled)
{
    layer.setFillColor(filled ? andColor : UIColor::whiteColor());
    layer.setStrokeColor(andColor);
    layer.setPath(CGPath {
        .ovalIn = {location.x - withRadius, location.y - withRadius, 2 * withRadius, 2 * withRadius},
    });
}

} // namespace kova
