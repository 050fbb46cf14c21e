// The list screen: the inbox, newest first.
//
// It keeps store and view model in step by changing both at the same index, each time reading and writing the whole
// inbox. While it is on screen it takes in pushes that arrive; while it is covered by the detail screen it carries out
// the deletions made there. Main thread only; its handlers run on the thread that posts the notification.

#pragma once

#include "KovaSDK/Extensions/UIImageView.h"
#include "KovaSDK/Push/Central/View/NotificationView.h"
#include "KovaSDK/Push/Central/ViewModel/NotificationViewModel.h"
#include "Platform/Foundation/NotificationCenter.h"
#include "Platform/UIKit/UIViewController.h"

#include <memory>

namespace kova {

class NotificationViewController : public UIViewController, public UITableViewDataSource, public UITableViewDelegate {
public:
    explicit NotificationViewController(std::shared_ptr<NotificationViewModel> model);

    std::shared_ptr<NotificationViewModel> viewModel;
    /// The root view, null until it is loaded.
    std::shared_ptr<NotificationView> scene;

    [[nodiscard]] UIStatusBarStyle preferredStatusBarStyle() const override { return UIStatusBarStyle::lightContent; }

    // The table's questions and events.

    [[nodiscard]] std::int64_t numberOfRowsInSection(UITableView& tableView, std::int64_t section) override;
    [[nodiscard]] std::shared_ptr<UITableViewCell> cellForRowAt(UITableView& tableView, IndexPath indexPath) override;
    [[nodiscard]] double heightForRowAt(UITableView& tableView, IndexPath indexPath) override;
    [[nodiscard]] bool canEditRowAt(UITableView& tableView, IndexPath indexPath) override;
    /// Within an update batch, as the toolkit calls it.
    void commit(UITableView& tableView, UITableViewCellEditingStyle editingStyle, IndexPath forRowAt) override;
    void didSelectRowAt(UITableView& tableView, IndexPath indexPath) override;

    /// Handles "didReceivedNotification": the newest record enters at the top.
    void updateTableView();
    /// Handles "didDeletedNotification": removes the row that the user info's "index", a 64-bit integer, names.
    void deleteNotification(const Notification& notification);
    /// Closes the whole centre.
    void closeCentral();

protected:
    void loadView() override;
    void viewDidLoad() override;
    void viewDidAppear(bool animated) override;
    void viewDidDisappear(bool animated) override;

private:
    void removeRecord(std::int64_t index);

    const ImageCacheUse m_imageCacheUse;
};

} // namespace kova
