#include "Platform/Qt/PointerWatch_p.h"

#include <QPointerEvent>
#include <algorithm>
#include <utility>

namespace kova {

PointerWatch::PointerWatch(QQuickItem& item, std::function<void(QPointF)> pressed)
    : m_pressed(std::move(pressed))
{
    connect(&item, &QQuickItem::windowChanged, this, &PointerWatch::watch);
    watch(item.window());
}

void PointerWatch::watch(QQuickWindow* window)
{
    if (m_window)
        m_window->removeEventFilter(this);
    m_window = window;
    if (window)
        window->installEventFilter(this);
}

bool PointerWatch::eventFilter(QObject* watched, QEvent* event)
{
    if (event->isPointerEvent() && event->type() != QEvent::TouchCancel) {
        const auto& points = static_cast<QPointerEvent*>(event)->points();
        m_isLifted = std::ranges::any_of(
            points, [](const QEventPoint& point) { return point.state() == QEventPoint::State::Released; });
        for (const auto& point : points) {
            if (point.state() == QEventPoint::State::Pressed)
                m_pressed(point.position());
        }
    } else if (event->type() == QEvent::TouchCancel) {
        m_isLifted = false;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace kova
