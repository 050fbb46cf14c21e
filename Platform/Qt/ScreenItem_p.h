// The item that fills a host's area with a window of the toolkit model.
//
// It draws nothing and lets all input through while the window shows nothing over the host's own content. While it
// does, the keyboard's input is its own. GUI thread only.

#pragma once

#include "Platform/Qt/WindowBridge_p.h"
#include "Platform/UIKit/UIViewController.h"
#include "Platform/UIKit/UIWindow.h"

#include <QPointer>
#include <QQuickItem>
#include <functional>
#include <memory>
#include <vector>

namespace kova {

class ScreenItem : public QQuickItem {
    Q_OBJECT

public:
    /// Lives in `area`, and no longer than it. `covers` is called with true when something is to be seen, and with
    /// false when nothing is any more.
    ScreenItem(QQuickItem& area, std::shared_ptr<UIViewController> presenter, std::function<void(bool)> covers);
    ~ScreenItem() override;

protected:
    void geometryChange(const QRectF& geometry, const QRectF& before) override;
    void itemChange(ItemChange change, const ItemChangeData& data) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void touchEvent(QTouchEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void updatePolish() override;

private:
    void wake();
    void setCovering(bool covers);
    void takeFocus();
    void setPixelRatio(double ratio);
    void enableHost();

    UIWindow m_window {{}};
    std::function<void(bool)> m_covers;
    std::unique_ptr<WindowBridge> m_bridge;
    /// The host's items that are out of reach while something covers them.
    std::vector<QPointer<QQuickItem>> m_disabled;
    QPointer<QQuickItem> m_focusBefore;
    bool m_isCovering = false;
};

} // namespace kova
