#include "Platform/Qt/ViewItem_p.h"

#include <QQuickWindow>
#include <algorithm>
#include <cmath>
#include <utility>

namespace kova {

namespace {

/// More pixels than any screen has: what is larger is drawn coarser.
constexpr double maximumSide = 8192;

} // namespace

ViewItem::ViewItem(QQuickItem* parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
}

double ViewItem::pixelRatio() const
{
    return window() ? window()->effectiveDevicePixelRatio() : 1;
}

double ViewItem::paintRatio() const
{
    return std::min(pixelRatio(), maximumSide / std::max(width(), height()));
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
    const auto before = text();
    m_content = content;
    emit contentChanged();
    if (text() != before)
        emit textChanged();
    setTextPaintDue();
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
        setTextPaintDue();
        update();
    }
    QQuickItem::geometryChange(geometry, before);
}

void ViewItem::setTextPaintDue()
{
    if (!m_content.isTextPainted && !m_paintedText)
        return;
    m_isTextPaintDue = true;
    polish();
}

void ViewItem::updatePolish()
{
    if (std::exchange(m_isTextPaintDue, false)) {
        m_paintedText.reset();
        if (m_content.isTextPainted && width() > 0 && height() > 0)
            m_paintedText = std::make_unique<PaintedText>(m_content.text,
                PaintedText::Style {.font = m_content.font,
                    .color = m_content.textColor,
                    .alignment = Qt::Alignment::fromInt(m_content.alignment),
                    .maximumLineCount = m_content.maximumLineCount},
                size(), paintRatio());
    }
    if (m_paintedText && !m_paintedText->finish())
        QMetaObject::invokeMethod(this, &QQuickItem::polish, Qt::QueuedConnection);
    m_isPaintNeeded = true;
    update();
}

void ViewItem::itemChange(ItemChange change, const ItemChangeData& data)
{
    if (change == ItemDevicePixelRatioHasChanged || (change == ItemSceneChange && data.window)) {
        m_isPaintNeeded = true;
        setTextPaintDue();
        place();
        update();
    }
    QQuickItem::itemChange(change, data);
}

} // namespace kova
