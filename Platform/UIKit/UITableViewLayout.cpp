// The half of the table that gives visible rows their cells.

#include "Platform/UIKit/KeepAlive.h"
#include "Platform/UIKit/UITableView.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kova {

namespace {

/// How often a layout begins anew when the data source changes rows under its hands, or their heights move the content.
constexpr int layoutAttempts = 8;

} // namespace

void UITableView::layoutSubviews()
{
    // Within a batch the data source is ahead of the count; the batch's end asks for layout.
    if (m_isPlacingRows || m_batchDepth > 0)
        return;
    const auto self = keepAlive(*this);
    if (std::exchange(m_laidOutSize, bounds().size) != bounds().size)
        m_clampsOffset = true;
    m_isPlacingRows = true;
    if (!m_dataSource && m_rowCount > 0) {
        forgetRows();
        m_rowCount = 0;
    }
    for (int attempt = 0; attempt < layoutAttempts; ++attempt) {
        loadIfNeeded();
        if (!placeRows())
            continue;
        setContentSize({.width = bounds().size.width, .height = m_heights.offset(m_rowCount)});
        const auto offset = clampedOffset(contentOffset());
        if (!std::exchange(m_clampsOffset, false) || offset == contentOffset())
            break;
        m_clampsOffset = true;
        setBoundsOrigin(offset);
    }
    m_isPlacingRows = false;
}

/// False when the data source or the delegate changed the rows meanwhile.
bool UITableView::placeRows()
{
    const auto generation = m_generation;
    if (m_needsUsualHeight && m_rowCount > 0) {
        m_needsUsualHeight = false;
        m_heights.reset(measure(0));
    }
    const auto rows = measureVisibleRows();
    if (m_generation != generation)
        return false;
    for (auto visible = m_visibleRows.begin(); visible != m_visibleRows.end();) {
        if (!std::ranges::binary_search(rows, visible->first)) {
            recycle(visible->second.cell);
            visible = m_visibleRows.erase(visible);
        } else {
            ++visible;
        }
    }
    for (const auto row : rows) {
        const auto found = m_visibleRows.find(row);
        if ((found == m_visibleRows.end() || found->second.isStale) && !makeCell(row))
            return false;
        m_visibleRows.at(row).cell->setFrame(rectForRow({.row = row}));
    }
    return true;
}

/// The rows that intersect the bounds. Their heights are known afterwards.
std::vector<std::int64_t> UITableView::measureVisibleRows()
{
    std::vector<std::int64_t> rows;
    const auto generation = m_generation;
    const auto area = bounds();
    for (auto row = m_heights.rowAt(area.minY(), m_rowCount); row < m_rowCount && m_generation == generation; ++row) {
        const double top = m_heights.offset(row);
        if (!(top < area.maxY()))
            break;
        const double height = measure(row);
        m_heights.set(row, height);
        if (m_heights.height(row) > 0 && top + m_heights.height(row) > area.minY())
            rows.push_back(row);
    }
    return rows;
}

double UITableView::measure(std::int64_t row)
{
    const auto visible = m_visibleRows.find(row);
    if (visible != m_visibleRows.end() && std::exchange(visible->second.isMeasured, true))
        return m_heights.height(row);
    const auto screen = keepAlive(m_delegate.get());
    return m_delegate ? m_delegate->heightForRowAt(*this, {.row = row}) : UITableViewRowHeights::standard;
}

/// False when the data source changed the rows meanwhile.
bool UITableView::makeCell(std::int64_t row)
{
    const auto generation = m_generation;
    const auto screen = keepAlive(m_dataSource.get());
    auto cell = m_dataSource ? m_dataSource->cellForRowAt(*this, {.row = row}) : nullptr;
    if (!cell)
        cell = std::make_shared<UITableViewCell>(UITableViewCellStyle::default_, std::nullopt);
    if (m_generation != generation) {
        // It has been filled for a row, so the next one must not get it as new.
        if (!cell->superview())
            recycle(cell);
        return false;
    }
    show(row, cell);
    return true;
}

void UITableView::show(std::int64_t row, const std::shared_ptr<UITableViewCell>& cell)
{
    // A data source that keeps its cells itself may hand out one that waits for reuse or shows a row already.
    if (const auto& identifier = cell->reuseIdentifier())
        std::erase(m_reusableCells[*identifier], cell);
    std::erase_if(m_visibleRows, [&](const auto& other) { return other.first != row && other.second.cell == cell; });
    const auto old = std::exchange(m_visibleRows[row], {.cell = cell}).cell;
    if (old == cell)
        return;
    insertSubview(cell, levelOf(row));
    if (old)
        recycle(old);
}

/// How many subviews lie beneath the row's cell: cells are stacked by row, beneath whatever else there is.
std::size_t UITableView::levelOf(std::int64_t row) const
{
    const auto visible = m_visibleRows.find(row);
    if (visible == m_visibleRows.begin())
        return 0;
    const auto* below = std::prev(visible)->second.cell.get();
    const auto found = std::ranges::find(subviews(), below, &std::shared_ptr<UIView>::get);
    return static_cast<std::size_t>(found - subviews().begin()) + 1;
}

} // namespace kova
