#include "KovaSDK/Push/Central/View/NotificationView.h"

#include "KovaSDK/Push/Central/View/NotificationViewCell.h"
#include "Platform/UIKit/NSLayoutConstraint.h"

namespace kova {

NotificationView::NotificationView(const CGRect& frame)
    : UIView(frame)
{
    setupViewConfiguration();
}

void NotificationView::buildViewHierarchy()
{
    tableView->setTranslatesAutoresizingMaskIntoConstraints(false);
    addSubview(tableView);
}

void NotificationView::setupViewConstraints()
{
    NSLayoutConstraint::activate({
        tableView->topAnchor().equalTo(topAnchor()),
        tableView->bottomAnchor().equalTo(bottomAnchor()),
        tableView->leftAnchor().equalTo(leftAnchor()),
        tableView->rightAnchor().equalTo(rightAnchor()),
    });
}

void NotificationView::configureViews()
{
    tableView->registerClass<NotificationViewCell>(NotificationViewCell::identifier);
    tableView->setSeparatorStyle(UITableViewCellSeparatorStyle::none);
}

} // namespace kova
