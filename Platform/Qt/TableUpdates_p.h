// Draws what an update did to a table's rows: what went fades, what came slides in, what stayed moves to its new place.

#pragma once

#include "Platform/Qt/ViewNode_p.h"
#include "Platform/UIKit/UITableView.h"
#include "Platform/UIKit/UIWindowObserver.h"

#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace kova {

class TableUpdates {
public:
    /// Notes an update, at the moment when the model tells of it: from now on the nodes of rows that go are ghosts.
    void note(const UITableView& table, const ViewNode& node, const UITableViewUpdate& update);

    /// Keeps a node in sight; the function it returns lets the node go.
    using Keeper = std::function<std::function<void()>(const std::shared_ptr<ViewNode>&)>;
    /// Animates the rows of a table whose items are in their new state.
    void run(const UITableView& table, const ViewNode& node, const Keeper& keep);
    void forget(const UIView& table) { m_notes.erase(&table); }

private:
    struct Ghost {
        std::shared_ptr<ViewNode> node;
        UITableViewRowAnimation animation;
    };
    struct Note {
        std::vector<Ghost> ghosts;
        std::map<std::int64_t, UITableViewRowAnimation> inserted;
        std::map<std::int64_t, UITableViewRowAnimation> reloaded;
        /// Where the items of rows that stayed stood, by node.
        std::map<const ViewNode*, double> before;
    };

    std::map<const UIView*, Note> m_notes;
};

} // namespace kova
