#include "KovaSDK/Push/Central/Controller/NotificationDetailViewController.h"

#include "KovaSDK/Services/NotificationName.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/UIKit/SFSafariViewController.h"
#include "Platform/UIKit/UIAlertController.h"
#include "Platform/UIKit/UINavigationController.h"

#include <utility>

namespace kova {

NotificationDetailViewController::NotificationDetailViewController(KovaNotification shown, std::int64_t row)
    : notification(std::move(shown))
    , index(row)
{
}

void NotificationDetailViewController::loadView()
{
    scene = std::make_shared<NotificationDetailView>();
    scene->configure(notification);
    scene->urlBtn->addTarget(this, [this] { openURL(); }, UIControlEvents::touchUpInside);
    setView(scene);
}

void NotificationDetailViewController::viewDidLoad()
{
    UIViewController::viewDidLoad();
    setEdgesForExtendedLayout(UIRectEdge::none);
    navigationItem().setRightBarButtonItem(
        std::make_shared<UIBarButtonItem>(UIBarButtonSystemItem::trash, this, [this] { deleteNotification(); }));
}

void NotificationDetailViewController::viewDidAppear(bool)
{
    UIViewController::viewDidAppear(true);
}

void NotificationDetailViewController::openURL()
{
    const auto url = notification.launchURL ? URL::create(*notification.launchURL) : std::nullopt;
    if (!url)
        return;
    auto browser = std::make_shared<SFSafariViewController>(*url);
    browser->setModalPresentationStyle(UIModalPresentationStyle::overCurrentContext);
    present(std::move(browser), true);
}

void NotificationDetailViewController::deleteNotification()
{
    auto alert = std::make_shared<UIAlertController>(
        "Aviso", "Deseja apagar esta notificação?", UIAlertControllerStyle::alert);
    alert->addAction({
        .title = "Apagar",
        .style = UIAlertActionStyle::default_,
        // A host may close the centre when it hears of the deletion.
        .handler = [this, self = shared_from_this()] { announceDeletion(); },
    });
    alert->addAction({.title = "Cancelar", .style = UIAlertActionStyle::cancel});
    present(std::move(alert), true);
}

void NotificationDetailViewController::announceDeletion()
{
    NotificationCenter::default_().post({
        .name = NotificationName::didDeletedNotification,
        .userInfo = AnyDictionary {{"index", index}},
    });
    if (auto* navigation = navigationController())
        navigation->popToRootViewController(true);
}

} // namespace kova
