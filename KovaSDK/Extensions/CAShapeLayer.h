// What the SDK adds to shape layers.

#pragma once

#include "Platform/UIKit/CAShapeLayer.h"

namespace kova {

/// Makes the layer a circle outlined in the colour, and filled with it or with white.
void drawCircleAtLocation(CAShapeLayer& layer, CGPoint location, double withRadius, UIColor andColor, bool filled);

} // namespace kova
