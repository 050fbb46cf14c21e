#include "Platform/Foundation/Print.h"
#include "Platform/Qt/ItemAnimation_p.h"
#include "Platform/Qt/ViewLook_p.h"
#include "Platform/Qt/WindowBridge_p.h"
#include "Platform/UIKit/UIControl.h"

#include <QQuickWindow>
#include <QSGRendererInterface>
#include <algorithm>
#include <utility>

namespace kova {

namespace {

// Where something moves without end, Qt's software renderer leaves pieces of what has moved away.
void drawAnew(QQuickItem& item)
{
    const auto* window = item.window();
    if (!window || window->rendererInterface()->graphicsApi() != QSGRendererInterface::Software)
        return;
    // Too little to be seen, and all is drawn; then once more, as it is.
    constexpr double nearlyOpaque = 0.999;
    item.setOpacity(nearlyOpaque);
    QMetaObject::invokeMethod(&item, [&item] { item.setOpacity(1); }, Qt::QueuedConnection);
}

} // namespace

WindowBridge::WindowBridge(UIWindow& window, QQuickItem& area, std::function<void()> wake)
    : m_window(window)
    , m_wake(std::move(wake))
    , m_back(
          window, [this](const UIView& view) { return nodeOf(view); }, m_wake)
    , m_focus(window)
    , m_pointer(area, [this](QPointF at) { catchLists(at); })
{
    qmlRegisterType<ViewItem>("KovaSDK.Centre", 1, 0, "ViewItem");
    m_root = enter(window);
    m_root->item->setParentItem(&area);
    window.setObserver(this);
    m_wake();
}

WindowBridge::~WindowBridge()
{
    m_window.setObserver(nullptr);
}

bool WindowBridge::isCovered() const
{
    return m_window.subviews().size() > 1 || !m_ghosts.empty();
}

std::shared_ptr<ViewNode> WindowBridge::nodeOf(const UIView& view) const
{
    const auto found = m_nodes.find(&view);
    return found == m_nodes.end() ? nullptr : found->second;
}

// What the model tells.

void WindowBridge::viewDidChange(UIView& view, UIChange change)
{
    if (!m_isUpdating)
        m_wake();
    if (auto* const speaker = change == UIChange::Appearance ? speakerOf(view) : nullptr) {
        if (const auto node = nodeOf(*speaker)) {
            node->needsLook = true;
            list(node);
        }
    }
    const auto node = nodeOf(view);
    if (!node)
        return;
    switch (change) {
    case UIChange::Appearance:
        node->needsLook = true;
        node->alphaDuration = UIView::currentAnimationDuration();
        // What a button looks like is also how its title does.
        for (const auto& child : node->children) {
            child->needsLook = true;
            list(child);
        }
        break;
    case UIChange::Geometry:
        node->needsFrame = true;
        node->needsLook = true;
        break;
    case UIChange::Hierarchy:
        node->needsChildren = true;
        node->needsLook = true;
        break;
    case UIChange::Layout:
        return;
    }
    list(node);
}

void WindowBridge::viewWillLeave(UIView& view)
{
    const auto node = nodeOf(view);
    if (!node)
        return;
    forget(*node);
    m_left.push_back(node);
    if (!m_isUpdating)
        m_wake();
}

void WindowBridge::tableDidUpdate(UITableView& table, const UITableViewUpdate& update)
{
    if (const auto node = nodeOf(table)) {
        m_tables.note(table, *node, update);
        node->needsChildren = true;
        list(node);
    }
    for (const auto& row : update.deleted)
        m_focus.rowsMoved(table, row.indexPath.row, -1);
    for (const auto& row : update.inserted)
        m_focus.rowsMoved(table, row.indexPath.row - 1, 1);
    m_wake();
}

// The tree of nodes.

QQmlComponent& WindowBridge::component(const QString& name)
{
    auto*& found = m_components[name];
    if (!found)
        found = new QQmlComponent {
            &m_engine, QUrl {QStringLiteral("qrc:/kova/") + name + QStringLiteral(".qml")}, &m_engine};
    return *found;
}

std::unique_ptr<ViewItem> WindowBridge::makeItem(const QString& name)
{
    auto& maker = component(name);
    auto* const item = qobject_cast<ViewItem*>(maker.create());
    if (!item)
        fatalError("a view cannot be drawn: " + maker.errorString().toStdString());
    QQmlEngine::setObjectOwnership(item, QQmlEngine::CppOwnership);
    item->setListener(this);
    return std::unique_ptr<ViewItem> {item};
}

std::shared_ptr<ViewNode> WindowBridge::enter(UIView& view)
{
    if (auto known = nodeOf(view))
        return known;
    for (auto* away : {&m_left, &m_ghosts, &m_aside}) {
        const auto found = std::ranges::find_if(
            *away, [&](const auto& node) { return !node->isGhost && node->view.get() == &view; });
        if (found == away->end())
            continue;
        auto node = std::move(*found);
        away->erase(found);
        node->item->setEnabled(true);
        recall(node);
        return node;
    }
    auto node = std::make_shared<ViewNode>(
        ViewNode {.view = &view, .item = makeItem(pageComponentOf(view).value_or(componentOf(view)))});
    m_nodes[&view] = node;
    list(node);
    return node;
}

/// What stands aside is brought back, and wholly up to date, since nothing was told of it meanwhile.
void WindowBridge::recall(const std::shared_ptr<ViewNode>& node)
{
    auto* const view = node->view.get();
    // Also a row that was on its way when its list left.
    ItemAnimation::reset(*node->item);
    m_nodes[view] = node;
    std::erase_if(node->children, [&](const auto& child) {
        return !child->view || child->view->superview() != view || m_nodes.contains(child->view.get());
    });
    node->needsChildren = node->needsFrame = node->needsLook = true;
    node->isShown = false;
    list(node);
    for (const auto& child : node->children)
        recall(child);
}

void WindowBridge::forget(const ViewNode& node)
{
    if (const auto* view = node.view.get()) {
        if (const auto found = m_nodes.find(view); found != m_nodes.end() && found->second.get() == &node)
            m_nodes.erase(found);
        m_tables.forget(*view);
        m_swipe.forget(node);
        // Nobody hears any more that it is let go of.
        if (auto* control = dynamic_cast<UIControl*>(node.view.get()))
            control->setHighlighted(false);
    }
    for (const auto& child : node.children)
        forget(*child);
}

void WindowBridge::list(const std::shared_ptr<ViewNode>& node)
{
    if (!std::exchange(node->isListed, true))
        m_listed.push_back(node);
}

/// Has it read how everything beneath a node looks.
void WindowBridge::listAll(const ViewNode& node)
{
    for (const auto& child : node.children) {
        child->needsLook = true;
        list(child);
        listAll(*child);
    }
}

// Once a frame.

void WindowBridge::update()
{
    m_isUpdating = true;
    m_back.follow();
    m_window.layoutIfNeeded();
    m_focus.follow();
    focusMoved();
    // Those whose rows were changed, in the order of the list.
    std::vector<std::shared_ptr<ViewNode>> refreshed;
    while (!m_listed.empty()) {
        for (auto& node : std::exchange(m_listed, {})) {
            node->isListed = false;
            refresh(node);
            refreshed.push_back(std::move(node));
        }
    }
    takeFocus();
    for (const auto& node : refreshed) {
        if (const auto* table = dynamic_cast<const UITableView*>(node->view.get()))
            m_tables.run(*table, *node, [this](const auto& ghost) { return keep(ghost); });
    }
    m_back.place();
    runMoves();
    sweep();
    m_isUpdating = false;
}

void WindowBridge::refresh(const std::shared_ptr<ViewNode>& node)
{
    auto* const view = node->view.get();
    if (!view || nodeOf(*view) != node)
        return;
    if (std::exchange(node->needsChildren, false))
        placeChildren(*node, *view);
    auto* const scrollView = dynamic_cast<UIScrollView*>(view);
    const auto offset = scrollView ? scrollView->contentOffset() : CGPoint {};
    // First, so that a text is laid out once, in its own width.
    if (std::exchange(node->needsFrame, false)) {
        const auto& frame = view->frame();
        node->item->setFrame({frame.minX(), frame.minY(), frame.size.width, frame.size.height});
    }
    if (std::exchange(node->needsLook, false))
        showLook(*node, *view);
    if (scrollView) {
        // Its size, its content's and the insets reach the item one by one: where it kept the content in between is no
        // scrolling.
        if (scrollView->contentOffset() != offset)
            scrollView->setContentOffset(scrollView->clampedOffset(offset));
        node->item->setScrollPosition(scrollView->contentOffset().y);
    }
}

void WindowBridge::placeChildren(ViewNode& node, UIView& view)
{
    std::vector<std::shared_ptr<ViewNode>> children;
    for (const auto& subview : view.subviews())
        children.push_back(enter(*subview));
    if (children == node.children && node.isShown)
        return;
    node.children = std::move(children);
    const ViewNode* below = nullptr;
    for (const auto& child : node.children) {
        child->item->setParentItem(node.item->container());
        if (below)
            child->item->stackAfter(below->item.get());
        below = child.get();
    }
    if (&view != &m_window)
        return;
    // What lies beneath a presented screen is out of reach, for assistive technology too.
    for (const auto& screen : node.children) {
        screen->item->setEnabled(screen == node.children.back());
        listAll(*screen);
    }
}

/// What has left and is not seen leaving stands aside while its view lives, in case it comes back.
void WindowBridge::sweep()
{
    for (const auto& finished : std::exchange(m_finished, {})) {
        const auto found = std::ranges::find(m_ghosts, finished.lock());
        if (found == m_ghosts.end())
            continue;
        m_left.push_back(std::move(*found));
        m_ghosts.erase(found);
        drawAnew(*m_root->item);
    }
    for (auto& node : std::exchange(m_left, {})) {
        if (std::ranges::find(m_ghosts, node) != m_ghosts.end())
            continue;
        ItemAnimation::reset(*node->item);
        node->item->setParentItem(nullptr);
        if (!node->isGhost)
            m_aside.push_back(std::move(node));
    }
    std::erase_if(m_aside, [](const auto& node) { return !node->view; });
}

} // namespace kova
