// The colours of the notification centre. A host restyles the centre by assigning to CentralLayout::default_() before
// it starts it: each view reads its colours when it is built, so a change holds for those built afterwards. Main thread
// only.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIColor.h"

namespace kova {

class KOVA_EXPORT CentralLayout {
public:
    /// The process-wide colours, made on first access.
    [[nodiscard]] static CentralLayout& default_();

    CentralLayout(const CentralLayout&) = delete;
    CentralLayout& operator=(const CentralLayout&) = delete;

    /// The list's navigation bar.
    UIColor navColor = UIColor::clearColor();
    /// The title in it.
    UIColor titleNavColor = UIColor::blackColor();
    /// The buttons in it.
    UIColor buttonNavColor = UIColor::blueColor();
    /// Read by no screen: part of the public names all the same.
    UIColor backgroundListColor = UIColor::whiteColor();
    UIColor backgroundCellColor = UIColor::whiteColor();
    /// The title of a row and of the detail screen.
    UIColor fontTitleCellColor = UIColor::blackColor();
    /// The subtitle of the detail screen.
    UIColor fontSubtitleColor = UIColor::lightGrayColor();
    /// The body of a row that has been read, and of the detail screen.
    UIColor bodyCellColor = UIColor::lightGrayColor();
    /// The body of a row that has not been read.
    UIColor unreadBodyCellColor = UIColor::blackColor();
    /// The round marker of a row that has not been read.
    UIColor unreadMarkerColor = UIColor::blueColor();
    /// The link button of the detail screen.
    UIColor openLinkTitleColor = UIColor::lightGrayColor();
    UIColor openLinkButtonColor = UIColor::whiteColor();

private:
    CentralLayout() = default;
};

} // namespace kova
