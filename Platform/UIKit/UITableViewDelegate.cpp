#include "Platform/UIKit/UITableViewDelegate.h"

#include "Platform/UIKit/UITableViewRowHeights.h"

namespace kova {

double UITableViewDelegate::heightForRowAt(UITableView&, IndexPath)
{
    return UITableViewRowHeights::standard;
}

void UITableViewDelegate::didSelectRowAt(UITableView&, IndexPath)
{
}

} // namespace kova
