// Opens the notification centre over a screen of the host:
//
//     kova::CentralCoordinator {screen}.start();
//
// Each start shows a fresh copy of the inbox. The screens are owned by the presentation; the list closes itself. Main
// thread only.

#pragma once

#include "KovaSDK/Services/Coordinator.h"
#include "Platform/Foundation/Export.h"

#include <memory>

namespace kova {

class UIViewController;

class KOVA_EXPORT CentralCoordinator : public Coordinator {
public:
    /// Without a screen the process stops.
    explicit CentralCoordinator(std::shared_ptr<UIViewController> screen);

    /// The host's screen, over which the centre is presented.
    std::shared_ptr<UIViewController> presenter;

    void start() override;
};

} // namespace kova
