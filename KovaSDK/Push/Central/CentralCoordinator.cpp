#include "KovaSDK/Push/Central/CentralCoordinator.h"

#include "KovaSDK/Push/Central/Controller/NotificationViewController.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "Platform/Foundation/Print.h"
#include "Platform/UIKit/UINavigationController.h"

#include <utility>

namespace kova {

CentralCoordinator::CentralCoordinator(std::shared_ptr<UIViewController> screen)
    : presenter(std::move(screen))
{
    if (!presenter)
        fatalError("CentralCoordinator needs a presenter: the screen of the host over which it opens the centre");
}

void CentralCoordinator::start()
{
    auto model = std::make_shared<NotificationViewModel>();
    model->notifications = NotificationStorage::buffer();
    auto list = std::make_shared<NotificationViewController>(std::move(model));
    // On the list itself, not on the stack around it: contract.
    list->setModalPresentationStyle(UIModalPresentationStyle::overCurrentContext);
    auto navigation = std::make_shared<UINavigationController>(std::move(list));
    navigation->setTitle("Central de Notificações");
    presenter->present(std::move(navigation), true);
}

} // namespace kova
