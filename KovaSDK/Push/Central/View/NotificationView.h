// The root view of the list screen: a table that fills it.

#pragma once

#include "KovaSDK/Push/Central/View/ViewConfiguration.h"
#include "Platform/UIKit/UITableView.h"

#include <memory>

namespace kova {

class NotificationView final : public UIView, public ViewConfiguration {
public:
    explicit NotificationView(const CGRect& frame = {});

    std::shared_ptr<UITableView> tableView = std::make_shared<UITableView>(CGRect {}, UITableViewStyle::plain);

    void buildViewHierarchy() override;
    void setupViewConstraints() override;
    void configureViews() override;
};

} // namespace kova
