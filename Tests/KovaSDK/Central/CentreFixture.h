// The notification centre on a phone's window, worked as a user would, over a fresh store.

#pragma once

#include "KovaSDK/Push/Central/CentralCoordinator.h"
#include "KovaSDK/Push/Central/Controller/NotificationDetailViewController.h"
#include "KovaSDK/Push/Central/Controller/NotificationViewController.h"
#include "KovaSDK/Push/Central/View/NotificationViewCell.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "KovaSDK/Services/NotificationName.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/UIKit/UINavigationController.h"
#include "Platform/UIKit/UIWindow.h"
#include "Tests/Support/TestPlatform.h"

#include <memory>
#include <string>
#include <vector>

namespace kova::tests {

inline KovaNotification record(std::string title, bool read = false)
{
    KovaNotification notification;
    notification.notificationID = title;
    notification.body = "body of " + title;
    notification.title = std::move(title);
    notification.read = read;
    return notification;
}

class Centre {
public:
    explicit Centre(const std::vector<KovaNotification>& inbox = {}, CGSize size = {.width = 390, .height = 844})
        : window(std::make_shared<UIWindow>(CGRect {{}, size}))
    {
        NotificationStorage::setBuffer(inbox);
        window->setRootViewController(host);
        window->layoutIfNeeded();
    }

    void open()
    {
        CentralCoordinator {host}.start();
        layOut();
    }

    /// One turn of the main loop: what was submitted, then layout.
    void layOut()
    {
        DispatchQueue::drainMain();
        window->layoutIfNeeded();
    }

    template <typename Screen> std::shared_ptr<Screen> top() const
    {
        auto* screen = window->topViewController();
        return screen ? std::dynamic_pointer_cast<Screen>(screen->shared_from_this()) : nullptr;
    }
    std::shared_ptr<NotificationViewController> list() const { return top<NotificationViewController>(); }
    std::shared_ptr<NotificationDetailViewController> detail() const { return top<NotificationDetailViewController>(); }
    UITableView& table() const { return *list()->scene->tableView; }
    std::shared_ptr<NotificationViewCell> cell(std::int64_t row) const
    {
        return std::dynamic_pointer_cast<NotificationViewCell>(table().cellForRow({.row = row}));
    }

    void select(std::int64_t row)
    {
        table().userSelectsRow({.row = row});
        layOut();
    }

    /// A push arrives: stored at the front, then announced.
    static void arrives(const KovaNotification& notification)
    {
        auto inbox = NotificationStorage::buffer();
        inbox.insert(inbox.begin(), notification);
        NotificationStorage::setBuffer(inbox);
        NotificationCenter::default_().post({.name = NotificationName::didReceivedNotification});
    }

    /// The titles of a list of records, those that have been read in brackets.
    static std::vector<std::string> titles(const std::vector<KovaNotification>& notifications)
    {
        std::vector<std::string> titles;
        for (const auto& notification : notifications)
            titles.push_back(
                notification.read ? "(" + notification.title.value_or("") + ")" : notification.title.value_or(""));
        return titles;
    }
    static std::vector<std::string> stored() { return titles(NotificationStorage::buffer()); }
    /// What the visible cells show.
    std::vector<std::string> shown() const
    {
        std::vector<std::string> titles;
        for (const auto path : table().indexPathsForVisibleRows())
            titles.push_back(cell(path.row)->title->text().value_or("nil"));
        return titles;
    }

    std::shared_ptr<UIViewController> host = std::make_shared<UIViewController>();
    std::shared_ptr<UIWindow> window;
};

} // namespace kova::tests
