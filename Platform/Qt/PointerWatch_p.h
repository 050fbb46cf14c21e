// Tells a drag that ended because the finger was lifted from one that something else took away.
//
// How a handler says that its gesture is over, and in which order, differs from one version of Qt to the next; the
// pointer events that the window gets do not. GUI thread only.

#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>

namespace kova {

class PointerWatch : public QObject {
public:
    /// Watches the window that the item lies in, and follows the item to another.
    explicit PointerWatch(QQuickItem& item);

    /// True if the newest pointer event lifted a finger or a button.
    [[nodiscard]] bool isLifted() const { return m_isLifted; }

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void watch(QQuickWindow* window);

    QPointer<QQuickWindow> m_window;
    bool m_isLifted = false;
};

} // namespace kova
