// The notification centre in a window of a phone's size, and a user's hands.
//
// The window has content of the host's own beneath. With KOVA_SCREENSHOTS naming a folder, every look at the window is
// also saved there.

#pragma once

#include "KovaSDK/Push/PushModel/KovaNotification.h"
#include "Platform/Qt/QtPlatform.h"
#include "Platform/Qt/QtScreen.h"
#include "Platform/UIKit/UIButton.h"
#include "Platform/UIKit/UINavigationController.h"
#include "Platform/UIKit/UITableView.h"
#include "Platform/UIKit/UIWindow.h"
#include "Tests/Support/TestPlatform.h"

#include <QColor>
#include <QImage>
#include <QQuickWindow>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace kova::tests {

/// True once the condition holds; gives up after five seconds.
[[nodiscard]] bool eventually(const std::function<bool()>& condition);

/// Six records: long and short, with and without picture, the third one read.
[[nodiscard]] std::vector<KovaNotification> sampleInbox();
[[nodiscard]] std::vector<KovaNotification> inboxOf(int count);
/// The titles of the records in the store.
[[nodiscard]] std::vector<std::string> titles();

enum class Hand { Mouse, Finger };

class CentreWindow {
public:
    explicit CentreWindow(QSize size = {390, 844});
    ~CentreWindow();
    CentreWindow(const CentreWindow&) = delete;
    CentreWindow& operator=(const CentreWindow&) = delete;

    /// Opens the centre over an inbox and waits until it stands still.
    void open(const std::vector<KovaNotification>& inbox);

    [[nodiscard]] UIWindow& model() const;
    [[nodiscard]] UIViewController& top() const { return *model().topViewController(); }
    [[nodiscard]] UINavigationController& stack() const;
    [[nodiscard]] UITableView& table() const;
    /// The button with that title on the topmost screen, null when there is none.
    [[nodiscard]] UIButton* button(const std::string& title) const;

    /// In the window's points.
    [[nodiscard]] QRectF place(const UIView& view) const;
    [[nodiscard]] QRectF placeOfRow(std::int64_t row) const;

    /// The item that draws a text within the reach of a hand, null when there is none.
    [[nodiscard]] QQuickItem* drawnText(const QString& text) const;

    void tap(QPointF at);
    void tap(const UIView& view) { tap(place(view).center()); }
    void tapRow(std::int64_t row) { tap(placeOfRow(row).center()); }
    // A drag in small steps, with the left button held down or with a finger: as a whole, or bit by bit.
    void drag(QPointF from, QPointF to, Hand hand = Hand::Mouse);
    void press(QPointF at, Hand hand);
    void moveTo(QPointF to, int steps = 12);
    void release();
    /// The finger is taken away by the system.
    void cancel();
    void key(Qt::Key key);

    /// Waits until no animation runs and everything is drawn. False when that takes too long.
    [[nodiscard]] bool settle();
    /// What is seen now.
    [[nodiscard]] QImage look(const std::string& name);
    /// The colour at a place given in points.
    [[nodiscard]] static QColor colorAt(const QImage& image, QPointF point);
    /// Whether there is such a pixel in an area given in points.
    [[nodiscard]] static bool hasPixel(const QImage& image, QRectF area, const std::function<bool(QColor)>& isIt);

    TestPlatform platform {MainLoop::Host};
    QtPlatform qt;
    QQuickWindow window;
    std::unique_ptr<QtScreen> screen;

private:
    Hand m_hand = Hand::Mouse;
    QPointF m_handAt;
};

/// The first view of the class at or beneath a view for which the condition holds, null when there is none.
template <typename Kind>
Kind* find(UIView& view, const std::function<bool(const Kind&)>& isIt = [](const Kind&) { return true; })
{
    if (auto* found = dynamic_cast<Kind*>(&view); found && isIt(*found))
        return found;
    for (const auto& child : view.subviews()) {
        if (auto* found = find<Kind>(*child, isIt))
            return found;
    }
    return nullptr;
}

} // namespace kova::tests
