#include "KovaSDK/Push/Central/View/NotificationViewCell.h"

#include "KovaSDK/Extensions/UIImageView.h"
#include "KovaSDK/Extensions/UIView.h"
#include "KovaSDK/Push/Central/CentralLayout.h"
#include "Platform/UIKit/NSLayoutConstraint.h"

#include <utility>

namespace kova {

NotificationViewCell::NotificationViewCell(UITableViewCellStyle style, std::optional<std::string> reuseIdentifier)
    : UITableViewCell(style, std::move(reuseIdentifier))
{
    title->setText("title");
    body->setText("body");
    for (UIView* view : std::initializer_list<UIView*> {title.get(), body.get(), img.get(), unreadView.get()})
        view->setTranslatesAutoresizingMaskIntoConstraints(false);
    setupViewConfiguration();
}

void NotificationViewCell::buildViewHierarchy()
{
    addSubview(title);
    addSubview(body);
    addSubview(img);
    addSubview(unreadView);
}

void NotificationViewCell::setupViewConstraints()
{
    // The title has no right edge, so a long one runs beneath the marker and the thumbnail: contract.
    NSLayoutConstraint::activate({
        title->leftAnchor().equalTo(leftAnchor(), 20),
        title->topAnchor().equalTo(img->topAnchor()),
    });
    NSLayoutConstraint::activate({
        body->topAnchor().equalTo(title->bottomAnchor(), 10),
        body->leftAnchor().equalTo(title->leftAnchor()),
        body->rightAnchor().equalTo(img->leftAnchor(), -10),
    });
    NSLayoutConstraint::activate({
        img->topAnchor().equalTo(topAnchor(), 20),
        img->rightAnchor().equalTo(rightAnchor(), -10),
        img->widthAnchor().equalToConstant(40),
        img->heightAnchor().equalToConstant(40),
    });
    NSLayoutConstraint::activate({
        unreadView->centerYAnchor().equalTo(img->centerYAnchor()),
        unreadView->rightAnchor().equalTo(img->leftAnchor(), -15),
        unreadView->widthAnchor().equalToConstant(15),
        unreadView->heightAnchor().equalToConstant(15),
    });
}

void NotificationViewCell::configureViews()
{
    const auto& layout = CentralLayout::default_();
    setBackgroundColor(layout.backgroundCellColor);
    title->setFont(UIFont::boldSystemFont(16));
    title->setTextColor(layout.fontTitleCellColor);
    body->setFont(UIFont::boldSystemFont(14));
    body->setTextColor(layout.unreadBodyCellColor);
    body->setNumberOfLines(1);
    img->setContentMode(UIViewContentMode::scaleAspectFit);
    img->setClipsToBounds(true);
    img->layer().setMasksToBounds(true);
    img->layer().setCornerRadius(3);
    unreadView->layer().setMasksToBounds(true);
    unreadView->layer().setCornerRadius(7.5);
    unreadView->setBackgroundColor(layout.unreadMarkerColor);
}

void NotificationViewCell::configure(const KovaNotification& notification)
{
    title->setText(notification.title);
    body->setText(notification.body);
    if (notification.att && !notification.att->empty()) {
        img->setContentMode(UIViewContentMode::scaleAspectFit);
        if (const auto cached = imageCache().object(*notification.att)) {
            img->setImage(cached);
        } else {
            lock(*img);
            downloaded(img, *notification.att);
        }
    } else {
        img->setHidden(true);
    }
    // Who does not see the picture or the marker hears of them.
    img->setAccessibilityLabel(notification.title);
    setAccessibilityValue(notification.read ? "lida" : "não lida");
    if (notification.read) {
        body->setFont(UIFont::systemFont(14));
        body->setTextColor(CentralLayout::default_().bodyCellColor);
        unreadView->setHidden(true);
    }
}

void NotificationViewCell::prepareForReuse()
{
    UITableViewCell::prepareForReuse();
    img->setImage(std::make_shared<const UIImage>());
    unreadView->setHidden(false);
}

} // namespace kova
