// How a table looks, and what the user did to it.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/IndexPath.h"

namespace kova {

class UITableView;

class KOVA_EXPORT UITableViewDelegate {
public:
    virtual ~UITableViewDelegate() = default;

    /// In points; 44 when a delegate does not say.
    [[nodiscard]] virtual double heightForRowAt(UITableView& tableView, IndexPath indexPath);
    virtual void didSelectRowAt(UITableView& tableView, IndexPath indexPath);
};

} // namespace kova
