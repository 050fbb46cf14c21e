// What a table shows.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/IndexPath.h"

#include <cstdint>
#include <memory>

namespace kova {

class UITableView;
class UITableViewCell;

enum class UITableViewCellEditingStyle { none = 0, delete_ = 1, insert = 2 };

class KOVA_EXPORT UITableViewDataSource {
public:
    virtual ~UITableViewDataSource() = default;

    [[nodiscard]] virtual std::int64_t numberOfRowsInSection(UITableView& tableView, std::int64_t section) = 0;
    [[nodiscard]] virtual std::shared_ptr<UITableViewCell> cellForRowAt(UITableView& tableView, IndexPath indexPath)
        = 0;
    [[nodiscard]] virtual bool canEditRowAt(UITableView& tableView, IndexPath indexPath);
    /// The user has edited a row; runs within an update batch of the table's own.
    virtual void commit(UITableView& tableView, UITableViewCellEditingStyle editingStyle, IndexPath forRowAt);
};

} // namespace kova
