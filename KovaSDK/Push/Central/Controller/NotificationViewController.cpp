#include "KovaSDK/Push/Central/Controller/NotificationViewController.h"

#include "KovaSDK/Push/Central/CentralLayout.h"
#include "KovaSDK/Push/Central/Controller/NotificationDetailViewController.h"
#include "KovaSDK/Push/Central/View/NotificationViewCell.h"
#include "KovaSDK/Push/PushServices/NotificationStorage.h"
#include "KovaSDK/Services/NotificationName.h"
#include "Platform/Foundation/Print.h"
#include "Platform/UIKit/UINavigationController.h"

#include <string>
#include <utility>
#include <vector>

namespace kova {

namespace {

constexpr double rowHeight = 80;

[[noreturn]] void failOutOfRange(std::int64_t row, std::size_t count)
{
    fatalError("Index out of range: row " + std::to_string(row) + " of " + std::to_string(count) + " notifications");
}

KovaNotification& element(std::vector<KovaNotification>& notifications, std::int64_t row)
{
    if (row < 0 || std::cmp_greater_equal(row, notifications.size()))
        failOutOfRange(row, notifications.size());
    return notifications[static_cast<std::size_t>(row)];
}

void removeIfPresent(std::vector<KovaNotification>& notifications, std::int64_t index)
{
    if (index >= 0 && std::cmp_less(index, notifications.size()))
        notifications.erase(notifications.begin() + static_cast<std::ptrdiff_t>(index));
}

struct RowOutOfRange {
    std::size_t count = 0;
};

// A row that the store does not have stops the process: contract. The update itself only fails, since it may run again
// on another list.
void markStoredRead(std::int64_t row)
{
    try {
        NotificationStorage::update([row](std::vector<KovaNotification>& buffer) {
            if (std::cmp_greater_equal(row, buffer.size()))
                throw RowOutOfRange {.count = buffer.size()};
            buffer[static_cast<std::size_t>(row)].read = true;
        });
    } catch (const RowOutOfRange& failure) {
        failOutOfRange(row, failure.count);
    }
}

} // namespace

NotificationViewController::NotificationViewController(std::shared_ptr<NotificationViewModel> model)
    : viewModel(std::move(model))
{
}

void NotificationViewController::loadView()
{
    UIViewController::loadView();
    scene = std::make_shared<NotificationView>();
    scene->tableView->setDelegate(this);
    scene->tableView->setDataSource(this);
    setView(scene);
}

void NotificationViewController::viewDidLoad()
{
    UIViewController::viewDidLoad();
    setTitle("Central de Notificações");
    navigationItem().setLeftBarButtonItem(
        std::make_shared<UIBarButtonItem>(UIBarButtonSystemItem::done, this, [this] { closeCentral(); }));
    if (auto* navigation = navigationController()) {
        const auto& layout = CentralLayout::default_();
        auto& bar = navigation->navigationBar();
        bar.setTintColor(layout.buttonNavColor);
        bar.setBarTintColor(layout.navColor);
        bar.setTitleTextForegroundColor(layout.titleNavColor);
        bar.setTranslucent(true);
    }
}

// The two observers are switched in opposite directions: what arrives matters while the list is seen, what the detail
// screen deletes while it is covered.

void NotificationViewController::viewDidAppear(bool)
{
    UIViewController::viewDidAppear(true);
    auto& center = NotificationCenter::default_();
    center.addObserver(
        shared_from_this(), [this](const Notification&) { updateTableView(); },
        NotificationName::didReceivedNotification);
    center.removeObserver(this, NotificationName::didDeletedNotification);
}

void NotificationViewController::viewDidDisappear(bool)
{
    UIViewController::viewDidDisappear(true);
    auto& center = NotificationCenter::default_();
    center.removeObserver(this, NotificationName::didReceivedNotification);
    center.addObserver(
        shared_from_this(), [this](const Notification& notification) { deleteNotification(notification); },
        NotificationName::didDeletedNotification);
}

std::int64_t NotificationViewController::numberOfRowsInSection(UITableView&, std::int64_t)
{
    const auto count = viewModel->notifications.size();
    print("Notifications:", std::to_string(count));
    return static_cast<std::int64_t>(count);
}

std::shared_ptr<UITableViewCell> NotificationViewController::cellForRowAt(UITableView& tableView, IndexPath indexPath)
{
    const auto cell = std::dynamic_pointer_cast<NotificationViewCell>(
        tableView.dequeueReusableCell(NotificationViewCell::identifier, indexPath));
    if (!cell)
        return std::make_shared<UITableViewCell>(UITableViewCellStyle::default_, std::nullopt);
    cell->configure(element(viewModel->notifications, indexPath.row));
    return cell;
}

double NotificationViewController::heightForRowAt(UITableView&, IndexPath)
{
    return rowHeight;
}

bool NotificationViewController::canEditRowAt(UITableView&, IndexPath)
{
    return true;
}

void NotificationViewController::commit(
    UITableView& tableView, UITableViewCellEditingStyle editingStyle, IndexPath forRowAt)
{
    if (editingStyle != UITableViewCellEditingStyle::delete_)
        return;
    // The row goes before its record: contract.
    tableView.deleteRows({forRowAt}, UITableViewRowAnimation::fade);
    removeRecord(forRowAt.row);
}

void NotificationViewController::didSelectRowAt(UITableView& tableView, IndexPath indexPath)
{
    // The detail screen gets the record as it was before it was marked.
    const auto selected = element(viewModel->notifications, indexPath.row);
    tableView.beginUpdates();
    markStoredRead(indexPath.row);
    element(viewModel->notifications, indexPath.row).read = true;
    tableView.reloadRows({{.row = indexPath.row, .section = 0}}, UITableViewRowAnimation::automatic);
    tableView.endUpdates();

    auto detail = std::make_shared<NotificationDetailViewController>(selected, indexPath.row);
    if (auto* navigation = navigationController())
        navigation->pushViewController(std::move(detail), true);
}

void NotificationViewController::updateTableView()
{
    bool isEmpty = false;
    NotificationStorage::read([&](const auto& buffer) {
        isEmpty = buffer.empty();
        if (!isEmpty)
            viewModel->notifications.insert(viewModel->notifications.begin(), buffer.front());
    });
    if (isEmpty)
        return;
    if (!scene)
        return;
    auto& table = *scene->tableView;
    table.beginUpdates();
    table.insertRows({{.row = 0, .section = 0}}, UITableViewRowAnimation::top);
    table.endUpdates();
}

void NotificationViewController::deleteNotification(const Notification& notification)
{
    if (!notification.userInfo)
        return;
    const auto entry = notification.userInfo->find("index");
    const auto* index = entry == notification.userInfo->end() ? nullptr : entry->second.as<std::int64_t>();
    if (!index || !scene)
        return;
    auto& table = *scene->tableView;
    table.beginUpdates();
    table.deleteRows({{.row = *index, .section = 0}}, UITableViewRowAnimation::fade);
    removeRecord(*index);
    table.endUpdates();
}

void NotificationViewController::removeRecord(std::int64_t index)
{
    NotificationStorage::update([index](std::vector<KovaNotification>& buffer) { removeIfPresent(buffer, index); });
    removeIfPresent(viewModel->notifications, index);
}

void NotificationViewController::closeCentral()
{
    dismiss(true);
}

} // namespace kova
