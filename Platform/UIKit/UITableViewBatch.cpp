#include "Platform/UIKit/UITableViewBatch.h"

#include <algorithm>
#include <utility>

namespace kova {

namespace {

using Rows = std::vector<UITableViewUpdate::Row>;

constexpr auto rowOf = [](const UITableViewUpdate::Row& row) { return row.indexPath.row; };

void sort(Rows& rows)
{
    std::ranges::sort(rows, {}, rowOf);
}

/// Whether sorted rows are all there, and each only once.
bool exist(const Rows& rows, std::int64_t count)
{
    return std::ranges::all_of(rows, [&](const auto& row) { return row.indexPath.section == 0 && rowOf(row) < count; })
        && std::ranges::adjacent_find(rows, {}, rowOf) == rows.end();
}

bool shareRow(const Rows& some, const Rows& others)
{
    return std::ranges::any_of(
        some, [&](const auto& row) { return std::ranges::binary_search(others, rowOf(row), {}, rowOf); });
}

} // namespace

void UITableViewBatch::add(
    UITableViewRowChange how, const std::vector<IndexPath>& rows, UITableViewRowAnimation animation)
{
    using enum UITableViewRowChange;
    auto& list = how == Delete ? m_update.deleted : how == Insert ? m_update.inserted : m_update.reloaded;
    for (const auto& row : rows) {
        if (row.row >= 0)
            list.push_back({.indexPath = row, .animation = animation});
    }
}

UITableViewUpdate UITableViewBatch::end(std::int64_t countBefore, std::int64_t countAfter)
{
    auto update = std::exchange(m_update, {});
    sort(update.deleted);
    sort(update.inserted);
    sort(update.reloaded);
    const auto deleted = static_cast<std::int64_t>(update.deleted.size());
    const auto inserted = static_cast<std::int64_t>(update.inserted.size());
    if (exist(update.deleted, countBefore) && exist(update.reloaded, countBefore) && exist(update.inserted, countAfter)
        && !shareRow(update.reloaded, update.deleted) && countBefore - deleted + inserted == countAfter)
        return update;
    return {.reloadedWhole = true};
}

std::optional<std::int64_t> UITableViewBatch::newRow(const UITableViewUpdate& update, std::int64_t oldRow)
{
    const auto deletion = std::ranges::lower_bound(update.deleted, oldRow, {}, rowOf);
    if (deletion != update.deleted.end() && rowOf(*deletion) == oldRow)
        return std::nullopt;
    const std::int64_t kept = oldRow - (deletion - update.deleted.begin());
    // The insertion that has `i` others before it stands before the row when it stands before `kept` rows at most.
    std::int64_t before = 0;
    for (std::int64_t after = std::ssize(update.inserted); before < after;) {
        const auto middle = before + (after - before) / 2;
        if (rowOf(update.inserted[static_cast<std::size_t>(middle)]) - middle <= kept)
            before = middle + 1;
        else
            after = middle;
    }
    return kept + before;
}

} // namespace kova
