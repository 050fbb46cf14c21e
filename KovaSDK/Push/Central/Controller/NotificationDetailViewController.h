// The detail screen: one record in full. It opens the record's link and, once the user has confirmed, announces that
// the record is to be deleted; the list, which it covers, deletes it. Main thread only.

#pragma once

#include "KovaSDK/Push/Central/View/NotificationDetailView.h"
#include "Platform/UIKit/UIViewController.h"

#include <cstdint>
#include <memory>

namespace kova {

class NotificationDetailViewController : public UIViewController {
public:
    NotificationDetailViewController(KovaNotification shown, std::int64_t row);

    KovaNotification notification;
    /// Its row in the list and in the inbox.
    std::int64_t index;
    /// The root view, null until it is loaded.
    std::shared_ptr<NotificationDetailView> scene;

    /// Shows the record's launchURL in the in-app browser, when it is a valid URL.
    void openURL();
    /// Asks whether to delete; "Apagar" announces it and goes back to the list.
    void deleteNotification();

protected:
    void loadView() override;
    void viewDidLoad() override;
    void viewDidAppear(bool animated) override;

private:
    void announceDeletion();
};

} // namespace kova
