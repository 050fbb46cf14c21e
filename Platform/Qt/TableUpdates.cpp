#include "Platform/Qt/ItemAnimation_p.h"
#include "Platform/Qt/TableUpdates_p.h"

#include <algorithm>
#include <utility>

namespace kova {

namespace {

constexpr double rowSeconds = 0.3;

/// The node of a cell that was drawn in the last frame.
std::shared_ptr<ViewNode> nodeOf(const ViewNode& table, const UITableViewCell* cell)
{
    const auto found
        = std::ranges::find_if(table.children, [&](const auto& child) { return cell && child->view.get() == cell; });
    return found == table.children.end() ? nullptr : *found;
}

/// From where a row comes, or where it goes, relative to its place.
QPointF outside(UITableViewRowAnimation animation, QSizeF size)
{
    switch (animation) {
    case UITableViewRowAnimation::right:
        return {size.width(), 0};
    case UITableViewRowAnimation::left:
        return {-size.width(), 0};
    case UITableViewRowAnimation::top:
        return {0, -size.height()};
    case UITableViewRowAnimation::bottom:
        return {0, size.height()};
    default:
        return {};
    }
}

void leave(ViewNode& node, UITableViewRowAnimation animation, std::function<void()> ended)
{
    auto& item = *node.item;
    // Beneath the rows that move to its place.
    item.setZ(-1);
    item.setEnabled(false);
    const auto to = item.shift() + outside(animation, item.size());
    if (to != item.shift())
        ItemAnimation {.property = "shift", .from = item.shift(), .to = to, .seconds = rowSeconds}.run(item);
    ItemAnimation {.property = "fade", .from = 1.0, .to = 0.0, .seconds = rowSeconds}.run(item, std::move(ended));
}

} // namespace

void TableUpdates::note(const UITableView& table, const ViewNode& node, const UITableViewUpdate& update)
{
    auto& note = m_notes[&table];
    // A second update before the first was drawn: rows have other numbers by now.
    note.inserted.clear();
    note.reloaded.clear();
    if (update.reloadedWhole)
        return;
    for (const auto& child : node.children)
        note.before.try_emplace(child.get(), child->item->frame().y());
    const auto makeGhost = [&](const UITableViewUpdate::Row& row) {
        auto ghost = nodeOf(node, row.cell.get());
        if (!ghost || ghost->isGhost || row.animation == UITableViewRowAnimation::none)
            return;
        ghost->isGhost = true;
        note.ghosts.push_back({std::move(ghost), row.animation});
    };
    std::ranges::for_each(update.deleted, makeGhost);
    // Cross-faded: the old cell goes while the new one comes.
    std::ranges::for_each(update.reloaded, makeGhost);
    for (const auto& row : update.inserted)
        note.inserted.emplace(row.indexPath.row, row.animation);
    for (const auto& row : update.reloaded)
        note.reloaded.emplace(row.indexPath.row, row.animation);
}

void TableUpdates::run(const UITableView& table, const ViewNode& node, const Keeper& keep)
{
    const auto found = m_notes.find(&table);
    if (found == m_notes.end())
        return;
    const auto note = std::move(found->second);
    m_notes.erase(found);

    for (const auto& ghost : note.ghosts)
        leave(*ghost.node, ghost.animation, keep(ghost.node));

    // A row that was not seen before moves with the one above it.
    double moved = 0;
    for (const auto& path : table.indexPathsForVisibleRows()) {
        const auto row = nodeOf(node, table.cellForRow(path).get());
        if (!row)
            continue;
        auto& item = *row->item;
        const auto inserted = note.inserted.find(path.row);
        const auto reloaded = note.reloaded.find(path.row);
        QPointF from {};
        bool fades = false;
        if (inserted != note.inserted.end()) {
            from = outside(inserted->second, item.size());
            fades = inserted->second != UITableViewRowAnimation::none;
        } else if (reloaded != note.reloaded.end()) {
            fades = reloaded->second != UITableViewRowAnimation::none;
        } else {
            if (const auto before = note.before.find(row.get()); before != note.before.end())
                moved = before->second - item.frame().y();
            from = {0, moved};
        }
        if (from != QPointF {})
            ItemAnimation {.property = "shift", .from = from, .to = QPointF {}, .seconds = rowSeconds}.run(item);
        if (fades)
            ItemAnimation {.property = "fade", .from = 0.0, .to = 1.0, .seconds = rowSeconds}.run(item);
    }
}

} // namespace kova
