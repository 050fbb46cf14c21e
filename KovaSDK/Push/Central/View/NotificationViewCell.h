// A row of the list: title, one line of body, thumbnail, and a round marker while the entry is unread.

#pragma once

#include "KovaSDK/Push/Central/View/ViewConfiguration.h"
#include "KovaSDK/Push/PushModel/KovaNotification.h"
#include "Platform/UIKit/UIImageView.h"
#include "Platform/UIKit/UILabel.h"
#include "Platform/UIKit/UITableViewCell.h"

#include <memory>
#include <optional>
#include <string>

namespace kova {

class NotificationViewCell final : public UITableViewCell, public ViewConfiguration {
public:
    /// Under which the list's table knows these cells.
    static constexpr const char* identifier = "notificationCell";

    NotificationViewCell(UITableViewCellStyle style, std::optional<std::string> reuseIdentifier);

    std::shared_ptr<UILabel> title = std::make_shared<UILabel>();
    std::shared_ptr<UILabel> body = std::make_shared<UILabel>();
    /// The record's attachment image.
    std::shared_ptr<UIImageView> img = std::make_shared<UIImageView>();
    /// The unread marker.
    std::shared_ptr<UIView> unreadView = std::make_shared<UIView>();

    /// Shows a record. What it does not touch stays as the record before left it: a hidden thumbnail stays hidden, and
    /// an unread record does not bring back the unread body after a read one. Both are contract.
    void configure(const KovaNotification& notification);

    /// Empties the thumbnail and shows the marker; the body's look and a hidden thumbnail stay: contract.
    void prepareForReuse() override;

    void buildViewHierarchy() override;
    void setupViewConstraints() override;
    /// The unread look.
    void configureViews() override;
};

} // namespace kova
