// As much of a text as can be seen: what lies beyond the largest window is neither laid out nor drawn, so that a text
// costs what a windowful of it does, however long it is.
//
// A text that fits is laid out and drawn as it is. One that does not is cut between two characters as users know them,
// somewhere beyond the window's edge. A text of which far more than any script needs takes no
// room, such as a hundred combining marks on every letter, is cut earlier. GUI thread only.

#pragma once

#include "Platform/UIKit/CGGeometry.h"
#include "Platform/UIKit/UIFont.h"

#include <QString>
#include <string_view>

namespace kova {

struct VisibleText {
    /// The text to be drawn.
    QString text;
    /// In points, not rounded: the lines that are laid out, one below the other.
    double width = 0;
    double height = 0;
};

/// Lays a UTF-8 text out as Qt Quick does; for the width and the lines see TextMeasurer::size().
[[nodiscard]] VisibleText layOut(std::string_view text, const UIFont& font, double maximumWidth, int numberOfLines);

/// The part of a text that is to be drawn; a text too short to be cut is not laid out.
[[nodiscard]] QString visibleText(std::string_view text, const UIFont& font, double maximumWidth, int numberOfLines);

/// The largest width and the largest height of this process's windows, on which it depends how much can be seen.
[[nodiscard]] CGSize visibleRoom();

} // namespace kova
