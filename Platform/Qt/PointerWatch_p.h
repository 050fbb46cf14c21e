// Tells of fingers and buttons that are put down and lifted, as the window hears of them.
//
// How a handler says that its gesture is over, and which items hear of a press, differs from one version of Qt to the
// next; the pointer events that the window gets do not. GUI thread only.

#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <functional>

namespace kova {

class PointerWatch : public QObject {
public:
    /// Watches the window that the item lies in, and follows the item to another. `pressed` gets the place in the
    /// window of each finger or button that is put down, before any item hears of it.
    PointerWatch(QQuickItem& item, std::function<void(QPointF)> pressed);

    /// True if the newest pointer event lifted a finger or a button: tells a drag that ended so from one that something
    /// else took away.
    [[nodiscard]] bool isLifted() const { return m_isLifted; }

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void watch(QQuickWindow* window);

    const std::function<void(QPointF)> m_pressed;
    QPointer<QQuickWindow> m_window;
    bool m_isLifted = false;
};

} // namespace kova
