// How a view looks and what assistive technology hears of it: read from the model, in Qt's terms.

#pragma once

#include "Platform/Qt/ViewItem_p.h"
#include "Platform/UIKit/NSTextAlignment.h"
#include "Platform/UIKit/UIColor.h"

namespace kova {

class UIView;

/// The name of the QML file that draws views of this class.
[[nodiscard]] QString componentOf(const UIView& view);

[[nodiscard]] QColor qtColor(const UIColor& color);
[[nodiscard]] Qt::Alignment qtAlignment(NSTextAlignment alignment);
[[nodiscard]] ViewItemShape shapeOf(const UIView& view);
/// Everything but what only the bridge knows.
[[nodiscard]] ViewItemContent contentOf(const UIView& view);
/// The view's alpha, less while the button around it is held down.
[[nodiscard]] double alphaOf(const UIView& view);
/// Whether a change of this view shows in what is told of a view around it; that view then, else null.
[[nodiscard]] UIView* speakerOf(const UIView& view);

} // namespace kova
