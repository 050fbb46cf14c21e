#include "Platform/UIKit/UITableView.h"

#include "Platform/Foundation/Print.h"
#include "Platform/UIKit/KeepAlive.h"
#include "Platform/UIKit/UITableViewBatch.h"
#include "Platform/UIKit/UIWindow.h"

#include <algorithm>
#include <utility>

namespace kova {

UITableView::UITableView(const CGRect& frame, UITableViewStyle style)
    : UIScrollView(frame)
    , m_style(style)
    , m_batch(std::make_unique<UITableViewBatch>())
{
    setClipsToBounds(true);
}

UITableView::~UITableView() = default;

void UITableView::setDataSource(WeakLink<UITableViewDataSource> dataSource)
{
    m_dataSource = std::move(dataSource);
    reloadData();
}

void UITableView::setDelegate(WeakLink<UITableViewDelegate> delegate)
{
    m_delegate = std::move(delegate);
    m_needsUsualHeight = true;
    for (auto& [row, visible] : m_visibleRows)
        visible.isMeasured = false;
    setNeedsLayout();
}

std::shared_ptr<UITableViewCell> UITableView::dequeueReusableCell(const std::string& withIdentifier, IndexPath)
{
    auto& reusable = m_reusableCells[withIdentifier];
    if (!reusable.empty()) {
        auto cell = std::move(reusable.back());
        reusable.pop_back();
        cell->prepareForReuse();
        return cell;
    }
    const auto maker = m_makers.find(withIdentifier);
    if (maker == m_makers.end())
        fatalError("no class of cells is registered for the identifier " + withIdentifier);
    return maker->second(UITableViewCellStyle::default_, withIdentifier);
}

std::shared_ptr<UITableViewCell> UITableView::cellForRow(IndexPath at) const
{
    const auto found = m_visibleRows.find(at.row);
    return at.section == 0 && found != m_visibleRows.end() ? found->second.cell : nullptr;
}

std::optional<IndexPath> UITableView::indexPath(const UITableViewCell& forCell) const
{
    const auto found
        = std::ranges::find_if(m_visibleRows, [&](const auto& entry) { return entry.second.cell.get() == &forCell; });
    return found == m_visibleRows.end() ? std::nullopt : std::optional {IndexPath {.row = found->first}};
}

std::vector<IndexPath> UITableView::indexPathsForVisibleRows() const
{
    std::vector<IndexPath> rows;
    rows.reserve(m_visibleRows.size());
    for (const auto& [row, visible] : m_visibleRows)
        rows.push_back({.row = row});
    return rows;
}

CGRect UITableView::rectForRow(IndexPath at) const
{
    if (!exists(at))
        return {};
    return {0, m_heights.offset(at.row), bounds().size.width, m_heights.height(at.row)};
}

void UITableView::userSelectsRow(IndexPath at)
{
    const auto self = keepAlive(*this);
    layoutIfNeeded();
    const auto screen = keepAlive(m_delegate.get());
    if (exists(at) && m_delegate)
        m_delegate->didSelectRowAt(*this, at);
}

bool UITableView::userMayEditRow(IndexPath at)
{
    const auto screen = keepAlive(m_dataSource.get());
    return exists(at) && m_dataSource && m_dataSource->canEditRowAt(*this, at);
}

void UITableView::userDeletesRow(IndexPath at)
{
    const auto self = keepAlive(*this);
    layoutIfNeeded();
    const auto screen = keepAlive(m_dataSource.get());
    if (!userMayEditRow(at))
        return;
    beginUpdates();
    if (m_dataSource)
        m_dataSource->commit(*this, UITableViewCellEditingStyle::delete_, at);
    endUpdates();
}

bool UITableView::exists(IndexPath row) const
{
    return row.section == 0 && row.row >= 0 && row.row < m_rowCount;
}

} // namespace kova
