#include "Platform/UIKit/UITableViewDataSource.h"

namespace kova {

bool UITableViewDataSource::canEditRowAt(UITableView&, IndexPath)
{
    return true;
}

void UITableViewDataSource::commit(UITableView&, UITableViewCellEditingStyle, IndexPath)
{
}

} // namespace kova
