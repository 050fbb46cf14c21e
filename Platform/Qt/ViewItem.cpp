#include "Platform/Qt/ViewItem_p.h"

#include <QQuickWindow>
#include <cmath>

namespace kova {

ViewItem::ViewItem(QQuickItem* parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

double ViewItem::pixelRatio() const
{
    return window() ? window()->effectiveDevicePixelRatio() : 1;
}

void ViewItem::setFrame(const QRectF& frame)
{
    m_frame = frame;
    place();
    setSize(frame.size());
}

void ViewItem::place()
{
    const double ratio = pixelRatio();
    const auto onPixel = [ratio](double points) { return std::round(points * ratio) / ratio; };
    setPosition({onPixel(m_frame.x() + m_shift.x() + m_swipe), onPixel(m_frame.y() + m_shift.y())});
}

void ViewItem::setShape(const ViewItemShape& shape)
{
    if (m_shape == shape)
        return;
    m_shape = shape;
    m_isPaintNeeded = true;
    update();
}

void ViewItem::setContent(const ViewItemContent& content)
{
    if (m_content == content)
        return;
    const bool isTextNew = m_content.text != content.text;
    m_content = content;
    emit contentChanged();
    if (isTextNew)
        emit textChanged();
}

void ViewItem::setShift(QPointF shift)
{
    if (m_shift == shift)
        return;
    m_shift = shift;
    place();
}

void ViewItem::setSwipe(double swipe)
{
    if (m_swipe == swipe)
        return;
    m_swipe = swipe;
    place();
    emit swipeChanged();
}

void ViewItem::setFade(double fade)
{
    m_fade = fade;
    setOpacity(m_alpha * m_fade);
}

void ViewItem::setAlpha(double alpha)
{
    m_alpha = alpha;
    setOpacity(m_alpha * m_fade);
}

void ViewItem::tapped(QPointF at)
{
    if (m_listener)
        m_listener->itemTapped(*this, at);
}

void ViewItem::activated()
{
    if (m_listener)
        m_listener->itemTapped(*this, std::nullopt);
}

void ViewItem::pressed(bool isPressed)
{
    if (m_listener)
        m_listener->itemPressed(*this, isPressed);
}

void ViewItem::scrolled(double contentY)
{
    if (m_listener)
        m_listener->itemScrolled(*this, contentY);
}

void ViewItem::dragBegan()
{
    if (m_listener)
        m_listener->itemDragged(*this, DragPhase::Began, 0);
}

void ViewItem::dragMoved(double distance)
{
    if (m_listener)
        m_listener->itemDragged(*this, DragPhase::Moved, distance);
}

void ViewItem::dragEnded()
{
    if (m_listener)
        m_listener->itemDragged(*this, DragPhase::Ended, 0);
}

void ViewItem::deleteTapped()
{
    if (m_listener)
        m_listener->itemDeleteTapped(*this);
}

void ViewItem::wentTo(const QUrl& url)
{
    if (m_listener)
        m_listener->itemWentTo(*this, url);
}

bool ViewItem::backPressed()
{
    return m_listener && m_listener->backPressed();
}

bool ViewItem::isWebAddress(const QUrl& url)
{
    // QUrl keeps schemes in lower case.
    return url.isValid() && (url.scheme() == QLatin1String {"http"} || url.scheme() == QLatin1String {"https"});
}

void ViewItem::geometryChange(const QRectF& geometry, const QRectF& before)
{
    if (geometry.size() != before.size()) {
        m_isPaintNeeded = true;
        update();
    }
    QQuickItem::geometryChange(geometry, before);
}

void ViewItem::itemChange(ItemChange change, const ItemChangeData& data)
{
    if (change == ItemDevicePixelRatioHasChanged || (change == ItemSceneChange && data.window)) {
        m_isPaintNeeded = true;
        place();
        update();
    }
    QQuickItem::itemChange(change, data);
}

} // namespace kova
