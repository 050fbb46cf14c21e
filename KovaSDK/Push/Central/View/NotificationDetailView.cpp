#include "KovaSDK/Push/Central/View/NotificationDetailView.h"

#include "KovaSDK/Extensions/UIImageView.h"
#include "KovaSDK/Extensions/UIView.h"
#include "KovaSDK/Push/Central/CentralLayout.h"
#include "Platform/UIKit/NSLayoutConstraint.h"

namespace kova {

NotificationDetailView::NotificationDetailView(const CGRect& frame)
    : UIView(frame)
{
    setupViewConfiguration();
}

void NotificationDetailView::buildViewHierarchy()
{
    addSubview(img);
    addSubview(title);
    addSubview(subtitle);
    addSubview(body);
    addSubview(urlBtn);
}

void NotificationDetailView::setupViewConstraints()
{
    for (const auto& view : subviews())
        view->setTranslatesAutoresizingMaskIntoConstraints(false);
    NSLayoutConstraint::activate({
        title->topAnchor().equalTo(img->bottomAnchor(), 10),
        title->leftAnchor().equalTo(img->leftAnchor(), 15),
        title->rightAnchor().equalTo(img->rightAnchor(), -15),
    });
    NSLayoutConstraint::activate({
        subtitle->topAnchor().equalTo(title->bottomAnchor(), 5),
        subtitle->leftAnchor().equalTo(title->leftAnchor()),
        subtitle->rightAnchor().equalTo(title->rightAnchor()),
    });
    NSLayoutConstraint::activate({
        body->topAnchor().equalTo(subtitle->bottomAnchor(), 5),
        body->leftAnchor().equalTo(subtitle->leftAnchor()),
        body->rightAnchor().equalTo(subtitle->rightAnchor()),
    });
    NSLayoutConstraint::activate({
        img->topAnchor().equalTo(topAnchor()),
        img->leftAnchor().equalTo(leftAnchor()),
        img->rightAnchor().equalTo(rightAnchor()),
        img->heightAnchor().lessThanOrEqualTo(widthAnchor()),
    });
    NSLayoutConstraint::activate({
        urlBtn->leftAnchor().equalTo(body->leftAnchor()),
        urlBtn->rightAnchor().equalTo(body->rightAnchor()),
        urlBtn->bottomAnchor().equalTo(bottomAnchor(), -10),
        urlBtn->heightAnchor().equalToConstant(50),
    });
}

void NotificationDetailView::configureViews()
{
    const auto& layout = CentralLayout::default_();
    title->setFont(UIFont::boldSystemFont(22));
    title->setNumberOfLines(1);
    title->setTextColor(layout.fontTitleCellColor);
    subtitle->setFont(UIFont::boldSystemFont(20));
    subtitle->setNumberOfLines(1);
    subtitle->setTextColor(layout.fontSubtitleColor);
    body->setFont(UIFont::systemFont(18));
    body->setNumberOfLines(0);
    body->setTextColor(layout.bodyCellColor);
    urlBtn->setBackgroundColor(layout.openLinkButtonColor);
    urlBtn->setTitleColor(layout.openLinkTitleColor, UIControlState::normal);
    urlBtn->setTitle("Abrir link", UIControlState::normal);
    setBackgroundColor(UIColor {.red = 0.98, .green = 0.98, .blue = 0.98, .alpha = 1});
}

void NotificationDetailView::configure(const KovaNotification& with)
{
    if (with.title)
        title->setText(with.title);
    if (with.subtitle)
        subtitle->setText(with.subtitle);
    if (with.body)
        body->setText(with.body);
    // What the picture says to who does not see it.
    img->setAccessibilityLabel(with.title);
    if (with.att) {
        img->setContentMode(UIViewContentMode::scaleAspectFit);
        if (const auto cached = imageCache().object(*with.att)) {
            img->setImage(cached);
        } else {
            lock(*img);
            downloaded(img, *with.att);
        }
        img->setContentMode(UIViewContentMode::scaleAspectFit);
    }
    if (with.launchURL) {
        const bool isLink = with.launchURL->contains("http://") || with.launchURL->contains("https://");
        urlBtn->setHidden(!isLink);
    }
}

} // namespace kova
