// The half of the table that follows its data source: counting, batches, and where the cells go by them.

#include "Platform/UIKit/KeepAlive.h"
#include "Platform/UIKit/UITableView.h"
#include "Platform/UIKit/UITableViewBatch.h"
#include "Platform/UIKit/UIWindow.h"

#include <algorithm>
#include <utility>

namespace kova {

void UITableView::reloadData()
{
    forgetRows();
    m_needsRowCount = true;
    setNeedsLayout();
}

void UITableView::beginUpdates()
{
    loadIfNeeded();
    ++m_batchDepth;
}

void UITableView::endUpdates()
{
    if (m_batchDepth != 1) {
        m_batchDepth = std::max(0, m_batchDepth - 1);
        return;
    }
    // Still within the batch, which a data source may add to while it counts.
    const auto self = keepAlive(*this);
    const auto rowCount = askRowCount();
    m_batchDepth = 0;
    auto update = m_batch->end(m_rowCount, rowCount);
    if (std::exchange(m_needsRowCount, false))
        update = {.reloadedWhole = true};
    apply(std::move(update), rowCount);
}

void UITableView::insertRows(const std::vector<IndexPath>& at, UITableViewRowAnimation with)
{
    change(UITableViewRowChange::Insert, at, with);
}

void UITableView::deleteRows(const std::vector<IndexPath>& at, UITableViewRowAnimation with)
{
    change(UITableViewRowChange::Delete, at, with);
}

void UITableView::reloadRows(const std::vector<IndexPath>& at, UITableViewRowAnimation with)
{
    change(UITableViewRowChange::Reload, at, with);
}

void UITableView::change(
    UITableViewRowChange how, const std::vector<IndexPath>& rows, UITableViewRowAnimation animation)
{
    if (std::ranges::none_of(rows, [](const IndexPath& row) { return row.row >= 0; }))
        return;
    const auto self = keepAlive(*this);
    beginUpdates();
    m_batch->add(how, rows, animation);
    endUpdates();
}

void UITableView::loadIfNeeded()
{
    if (!std::exchange(m_needsRowCount, false))
        return;
    m_needsUsualHeight = true;
    m_rowCount = askRowCount();
}

std::int64_t UITableView::askRowCount()
{
    const auto screen = keepAlive(m_dataSource.get());
    return m_dataSource ? std::max<std::int64_t>(0, m_dataSource->numberOfRowsInSection(*this, 0)) : 0;
}

void UITableView::apply(UITableViewUpdate update, std::int64_t rowCount)
{
    for (auto* rows : {&update.deleted, &update.reloaded}) {
        for (auto& row : *rows)
            row.cell = cellForRow(row.indexPath);
    }
    ++m_generation;
    m_rowCount = rowCount;
    m_clampsOffset = true;
    if (update.reloadedWhole) {
        forgetRows();
    } else {
        const auto newRow = [&](std::int64_t row) { return UITableViewBatch::newRow(update, row); };
        m_heights.renumber(newRow);
        for (const auto& reloaded : update.reloaded) {
            if (const auto found = m_visibleRows.find(reloaded.indexPath.row); found != m_visibleRows.end())
                found->second.isStale = true;
        }
        for (auto& [oldRow, visible] : std::exchange(m_visibleRows, {})) {
            visible.isMeasured = false;
            if (const auto row = newRow(oldRow))
                m_visibleRows.emplace(*row, std::move(visible));
            else
                recycle(visible.cell);
        }
    }
    setNeedsLayout();
    if (!window())
        return;
    if (auto* observer = window()->observer())
        observer->tableDidUpdate(*this, update);
    // Rows that came or changed get their cells at once, as long as the data source is as it was counted.
    if (!m_isPlacingRows)
        layoutIfNeeded();
}

void UITableView::forgetRows()
{
    ++m_generation;
    m_needsUsualHeight = true;
    m_clampsOffset = true;
    for (const auto& [row, visible] : std::exchange(m_visibleRows, {}))
        recycle(visible.cell);
}

void UITableView::recycle(const std::shared_ptr<UITableViewCell>& cell)
{
    cell->removeFromSuperview();
    if (const auto& identifier = cell->reuseIdentifier())
        m_reusableCells[*identifier].push_back(cell);
}

} // namespace kova
