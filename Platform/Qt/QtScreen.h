// A place in a host's own Qt window where screens of the toolkit appear, the notification centre among them.
//
//     kova::QtScreen screen {*view.rootObject()};
//     …
//     kova::CentralCoordinator {screen.presenter()}.start();
//
// It follows the size of the area it is given. As long as nothing is presented it draws nothing, and the host's content
// in the area gets all input; what is presented lies over that content. Needs a QtPlatform. GUI thread only.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/UIViewController.h"

#include <memory>

class QQuickItem;
class QWidget;

namespace kova {

class KOVA_EXPORT QtScreen {
public:
    // The area may go before the screen does: what was presented is closed then.
    explicit QtScreen(QQuickItem& area);
    explicit QtScreen(QWidget& area);
    /// Closes what is presented, at once.
    ~QtScreen();
    QtScreen(const QtScreen&) = delete;
    QtScreen& operator=(const QtScreen&) = delete;

    /// The screen on which others are presented; its own view is empty.
    [[nodiscard]] const std::shared_ptr<UIViewController>& presenter() const { return m_presenter; }

    /// Whether everything stands still: no screen on its way, no list rolling, no fade. For who takes pictures; true
    /// only once what was changed has been drawn.
    [[nodiscard]] bool isAtRest() const;

private:
    class Place;

    std::shared_ptr<UIViewController> m_presenter;
    std::unique_ptr<Place> m_place;
};

} // namespace kova
