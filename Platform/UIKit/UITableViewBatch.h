// What was said of a table's rows between beginUpdates() and endUpdates(), and where each row has gone by it.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UITableView.h"
#include "Platform/UIKit/UIWindowObserver.h"

#include <optional>

namespace kova {

/// Deletions and reloads name rows as they were before the batch, insertions as they are after it.
enum class UITableViewRowChange { Delete, Insert, Reload };

class KOVA_EXPORT UITableViewBatch {
public:
    /// Rows below zero are no rows and are passed over.
    void add(UITableViewRowChange how, const std::vector<IndexPath>& rows, UITableViewRowAnimation animation);

    /// Ends the batch, between the counts before and after it. When what was said does not lead from one to the other,
    /// names rows that there are not, or one of them twice, it is forgotten: the table is to be reloaded whole.
    [[nodiscard]] UITableViewUpdate end(std::int64_t countBefore, std::int64_t countAfter);

    /// Where a row has gone in an update that did fit; none when it was deleted.
    [[nodiscard]] static std::optional<std::int64_t> newRow(const UITableViewUpdate& update, std::int64_t oldRow);

private:
    UITableViewUpdate m_update;
};

} // namespace kova
