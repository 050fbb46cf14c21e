#include "Platform/Qt/PointerWatch_p.h"

#include <QPointerEvent>
#include <algorithm>

namespace kova {

PointerWatch::PointerWatch(QQuickItem& item)
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
    } else if (event->type() == QEvent::TouchCancel) {
        m_isLifted = false;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace kova
