#include "Platform/Qt/QtImageDecoder_p.h"
#include "Platform/Qt/ScreenItem_p.h"
#include "Platform/UIKit/UILabel.h"
#include "Platform/UIKit/UIScreen.h"

#include <QKeyEvent>
#include <QQuickWindow>
#include <utility>

namespace kova {

namespace {

/// Above whatever the host has in the area.
constexpr double level = 1000;

/// Texts are laid out as far as they can be seen, and more of them can now.
void measureTexts(UIView& view)
{
    if (dynamic_cast<UILabel*>(&view))
        view.invalidateIntrinsicContentSize();
    for (const auto& child : view.subviews())
        measureTexts(*child);
}

} // namespace

ScreenItem::ScreenItem(QQuickItem& area, std::shared_ptr<UIViewController> presenter, std::function<void(bool)> covers)
    : m_covers(std::move(covers))
{
    setParent(&area);
    setParentItem(&area);
    setFlag(ItemIsFocusScope);
    setZ(level);
    m_window.setRootViewController(std::move(presenter));
    m_bridge = std::make_unique<WindowBridge>(m_window, *this, [this] { wake(); });
    const auto follow = [this, &area] { setSize(area.size()); };
    connect(&area, &QQuickItem::widthChanged, this, follow);
    connect(&area, &QQuickItem::heightChanged, this, follow);
    follow();
}

ScreenItem::~ScreenItem()
{
    enableHost();
}

void ScreenItem::wake()
{
    polish();
    if (m_bridge && m_bridge->isCovered())
        setCovering(true);
}

void ScreenItem::updatePolish()
{
    m_bridge->update();
    setCovering(m_bridge->isCovered());
    if (m_isCovering && !hasActiveFocus() && window() && window()->activeFocusItem() != this)
        takeFocus();
}

void ScreenItem::takeFocus()
{
    forceActiveFocus(Qt::OtherFocusReason);
}

void ScreenItem::setCovering(bool covers)
{
    if (std::exchange(m_isCovering, covers) == covers)
        return;
    setAcceptedMouseButtons(covers ? Qt::AllButtons : Qt::NoButton);
    setAcceptTouchEvents(covers);
    setAcceptHoverEvents(covers);
    // An item on top alone would not keep touches from the handlers of those beneath.
    if (covers && parentItem()) {
        if (window() && !m_focusBefore)
            m_focusBefore = window()->activeFocusItem();
        for (auto* sibling : parentItem()->childItems()) {
            if (sibling != this && sibling->isEnabled()) {
                sibling->setEnabled(false);
                m_disabled.emplace_back(sibling);
            }
        }
    }
    if (!covers) {
        enableHost();
        setFocus(false);
        if (const auto before = std::exchange(m_focusBefore, nullptr))
            before->forceActiveFocus(Qt::OtherFocusReason);
    }
    if (m_covers)
        m_covers(covers);
}

void ScreenItem::enableHost()
{
    for (const auto& item : std::exchange(m_disabled, {})) {
        if (item)
            item->setEnabled(true);
    }
}

void ScreenItem::geometryChange(const QRectF& geometry, const QRectF& before)
{
    m_window.setFrame({0, 0, geometry.width(), geometry.height()});
    decodeForArea(geometry.size() * UIScreen::main().scale);
    if (geometry.width() > before.width() || geometry.height() > before.height())
        measureTexts(m_window);
    QQuickItem::geometryChange(geometry, before);
}

void ScreenItem::setPixelRatio(double ratio)
{
    UIScreen::main().scale = ratio;
    decodeForArea(size() * ratio);
}

void ScreenItem::itemChange(ItemChange change, const ItemChangeData& data)
{
    if (change == ItemDevicePixelRatioHasChanged)
        setPixelRatio(data.realValue);
    else if (change == ItemSceneChange && data.window)
        setPixelRatio(data.window->effectiveDevicePixelRatio());
    QQuickItem::itemChange(change, data);
}

void ScreenItem::keyPressEvent(QKeyEvent* event)
{
    event->setAccepted(m_bridge->keyPressed(event->key()));
}

// What nothing on the screens wants goes no further.

void ScreenItem::mousePressEvent(QMouseEvent* event)
{
    event->setAccepted(m_isCovering);
}

void ScreenItem::touchEvent(QTouchEvent* event)
{
    event->setAccepted(m_isCovering);
}

void ScreenItem::wheelEvent(QWheelEvent* event)
{
    event->setAccepted(m_isCovering);
}

} // namespace kova
