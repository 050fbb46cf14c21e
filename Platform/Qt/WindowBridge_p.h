// Keeps a tree of items in step with the views of a window, and carries to them what the user does.
//
// Changes of the model are only noted as they come. Once a frame, after the model's layout, update() brings the items
// up to date. The items of a view that leaves are kept aside while the view lives, since tables put cells away and
// bring them back all the time; what leaves with an animation is seen until it ends. GUI thread only.

#pragma once

#include "Platform/Qt/BackSwipe_p.h"
#include "Platform/Qt/KeyboardFocus_p.h"
#include "Platform/Qt/PointerWatch_p.h"
#include "Platform/Qt/RowSwipe_p.h"
#include "Platform/Qt/TableUpdates_p.h"
#include "Platform/Qt/ViewNode_p.h"
#include "Platform/UIKit/UIWindow.h"
#include "Platform/UIKit/UIWindowObserver.h"

#include <QHash>
#include <QQmlComponent>
#include <QQmlEngine>
#include <functional>
#include <optional>
#include <unordered_map>

namespace kova {

class SFSafariViewController;

class WindowBridge : public UIWindowObserver, private ViewItemListener {
public:
    /// The items go into `area`. `wake` asks for an update(); it is called again and again.
    WindowBridge(UIWindow& window, QQuickItem& area, std::function<void()> wake);
    ~WindowBridge() override;
    WindowBridge(const WindowBridge&) = delete;
    WindowBridge& operator=(const WindowBridge&) = delete;

    void update();
    /// Whether a screen lies over the host's own content, or still is on its way out.
    [[nodiscard]] bool isCovered() const;
    /// False when the key means nothing here.
    bool keyPressed(int key);
    /// Pops the stack, closes the screen, or cancels the alert on top. False when there is nothing to leave.
    bool goBack();

    [[nodiscard]] std::shared_ptr<ViewNode> nodeOf(const UIView& view) const;

    // UIWindowObserver
    void viewDidChange(UIView& view, UIChange change) override;
    void viewWillLeave(UIView& view) override;
    void didMove(const UITransition& transition) override;
    void tableDidUpdate(UITableView& table, const UITableViewUpdate& update) override;

private:
    struct Move {
        UITransition::Kind kind;
        /// The topmost views that went and came, for comparison only.
        const UIView* from;
        const UIView* to;
        bool isAlert;
    };

    // ViewItemListener
    void itemTapped(ViewItem& item, std::optional<QPointF> at) override;
    void itemPressed(ViewItem& item, bool isPressed) override;
    void itemScrolled(ViewItem& item, double contentY) override;
    void itemDragged(ViewItem& item, DragPhase phase, double distance) override;
    void itemDeleteTapped(ViewItem& item) override;
    void itemWentTo(ViewItem& item, const QUrl& url) override;
    bool backPressed() override { return goBack(); }

    std::shared_ptr<ViewNode> enter(UIView& view);
    [[nodiscard]] QQmlComponent& component(const QString& name);
    std::unique_ptr<ViewItem> makeItem(const QString& name);
    [[nodiscard]] bool showsPage(const SFSafariViewController& browser);
    [[nodiscard]] std::optional<QString> pageComponentOf(const UIView& view);
    void list(const std::shared_ptr<ViewNode>& node);
    void listAll(const ViewNode& node);
    void refresh(const std::shared_ptr<ViewNode>& node);
    void placeChildren(ViewNode& node, UIView& view);
    void showLook(ViewNode& node, UIView& view);
    void complete(ViewItemContent& content, const UIView& view);
    void showLayers(ViewNode& node, const CALayer& layer, QPointF origin);
    void forget(const ViewNode& node);
    void recall(const std::shared_ptr<ViewNode>& node);
    void runMoves();
    void present(const Move& move);
    void dismiss(const Move& move);
    void slide(const Move& move);
    /// Shows what has left until the function it returns is called.
    std::function<void()> keep(const std::shared_ptr<ViewNode>& node);
    void sweep();
    [[nodiscard]] std::shared_ptr<ViewNode> nodeOf(const ViewItem& item) const;
    [[nodiscard]] UIView* viewOf(const ViewItem& item) const;
    [[nodiscard]] bool isCovered(const UIView& view, QPointF at) const;
    void catchLists(QPointF at);
    void deleteRow(const UITableViewCell& cell);
    void focusMoved();
    void takeFocus();

    UIWindow& m_window;
    std::function<void()> m_wake;
    QQmlEngine m_engine;
    QHash<QString, QQmlComponent*> m_components;
    std::shared_ptr<ViewNode> m_root;
    std::unordered_map<const UIView*, std::shared_ptr<ViewNode>> m_nodes;
    std::vector<std::shared_ptr<ViewNode>> m_listed;
    /// The topmost nodes of what has left since the last update, and before.
    std::vector<std::shared_ptr<ViewNode>> m_left;
    std::vector<std::shared_ptr<ViewNode>> m_aside;
    /// What is only seen until its animation ends.
    std::vector<std::shared_ptr<ViewNode>> m_ghosts;
    /// Ghosts that are to go.
    std::vector<std::weak_ptr<ViewNode>> m_finished;
    std::vector<Move> m_moves;
    TableUpdates m_tables;
    RowSwipe m_swipe;
    BackSwipe m_back;
    KeyboardFocus m_focus;
    PointerWatch m_pointer;
    /// The view with the focus ring, for comparison only.
    const UIView* m_ringed = nullptr;
    /// The desktop took the page that the browser on top does not show.
    bool m_isPageElsewhere = false;
    /// Qt's own focus is to follow to it.
    bool m_isFocusDue = false;
    bool m_isUpdating = false;
};

} // namespace kova
