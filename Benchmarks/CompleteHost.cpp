// A host that uses every call of the SDK, the notification centre too. It is measured by size-benchmark, and never run.

#include "Benchmarks/Support/SilentOneSignal.h"
#include "KovaSDK/KovaSDK.h"
#include "Platform/Platform.h"
#include "Platform/UIKit/UIBarButtonItem.h"
#include "Platform/UIKit/UIViewController.h"
#include "Platform/UIKit/UIWindow.h"

#include <memory>

namespace {

using namespace kova;

void usePushes()
{
    KovaNotify::initWithCallbacks(std::nullopt);
    KovaNotify::initWith(std::nullopt, [](const auto&) { }, std::nullopt);
    KovaNotify::promptForPushNotifications([](bool) { });
    KovaNotify::sendTag(KovaNotify::getPlayerID(), std::nullopt);
    KovaNotify::didReceiveNotificationExtensionRequest(nullptr, nullptr);
    KovaNotify::serviceExtensionTimeWillExpireRequest(nullptr, nullptr);
}

template <typename AnEvent> void useEvent(EventType type)
{
    AnEvent event {type};
    event.start("text");
    event.addAttribute("type", "value");
    event.addMetric("type", 1);
    event.record();
    event.save();
}

void useCentre()
{
    const auto host = std::make_shared<UIViewController>();
    UIWindow window {{0, 0, 390, 844}};
    window.setRootViewController(host);
    CentralLayout::default_().navColor = UIColor::redColor();
    CentralCoordinator {host}.start();
    CentralButton button {{0, 0, 44, 44}};
    button.setBadge("1");
    UIBarButtonItem item {"Avisos", {}, [] { }};
    addBadgeCounter(item);
    updateBadge(item);
    removeBadge(item);
    window.layoutIfNeeded();
}

} // namespace

int main()
{
    const DevicePlatform platform {{.bundleIdentifier = "example.benchmark"}};
    OneSignal::setShared(std::make_shared<benchmarks::SilentOneSignal>());
    usePushes();
    useEvent<CartEvent>(EventType::cartAddProduct);
    useEvent<PageEvent>(EventType::pageView);
    std::make_shared<KovaGeotrigger>(std::nullopt)->start();
    useCentre();
    return 0;
}
