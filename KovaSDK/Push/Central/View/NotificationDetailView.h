// The root view of the detail screen: one record in full, and a button that opens its link.

#pragma once

#include "KovaSDK/Push/Central/View/ViewConfiguration.h"
#include "KovaSDK/Push/PushModel/KovaNotification.h"
#include "Platform/UIKit/UIButton.h"
#include "Platform/UIKit/UIImageView.h"
#include "Platform/UIKit/UILabel.h"

#include <memory>

namespace kova {

class NotificationDetailView final : public UIView, public ViewConfiguration {
public:
    explicit NotificationDetailView(const CGRect& frame = {});

    /// The record's attachment image.
    std::shared_ptr<UIImageView> img = std::make_shared<UIImageView>();
    std::shared_ptr<UILabel> title = std::make_shared<UILabel>();
    std::shared_ptr<UILabel> subtitle = std::make_shared<UILabel>();
    std::shared_ptr<UILabel> body = std::make_shared<UILabel>();
    /// Opens the record's launchURL.
    std::shared_ptr<UIButton> urlBtn = std::make_shared<UIButton>();

    /// Shows a record. A text that is absent leaves its label as it was. An empty `att` is looked up and downloaded as
    /// any other, unlike in the list. Without a launchURL the button stays visible; with one it is visible when the
    /// text holds "http://" or "https://" anywhere. All of it is contract.
    void configure(const KovaNotification& with);

    void buildViewHierarchy() override;
    void setupViewConstraints() override;
    void configureViews() override;
};

} // namespace kova
