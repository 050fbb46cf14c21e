#include "Platform/Qt/ItemAnimation_p.h"

#include <QPropertyAnimation>

namespace kova {

void ItemAnimation::run(ViewItem& item, std::function<void()> ended) const
{
    stop(item, property);
    auto* const animation = new QPropertyAnimation {&item, property, &item};
    animation->setObjectName(QLatin1String {property});
    animation->setDuration(static_cast<int>(seconds * 1000));
    animation->setEasingCurve(curve);
    animation->setStartValue(from);
    animation->setEndValue(to);
    if (ended)
        QObject::connect(animation, &QPropertyAnimation::finished, &item, std::move(ended), Qt::QueuedConnection);
    animation->start(QAbstractAnimation::DeleteWhenStopped);
}

void ItemAnimation::stop(ViewItem& item, const char* property)
{
    auto* const running = item.findChild<QPropertyAnimation*>(QLatin1String {property}, Qt::FindDirectChildrenOnly);
    if (!running)
        return;
    running->setObjectName({});
    QObject::disconnect(running, &QPropertyAnimation::finished, nullptr, nullptr);
    running->stop();
}

void ItemAnimation::reset(ViewItem& item)
{
    for (const auto* property : {"shift", "swipe", "fade", "alpha"})
        stop(item, property);
    item.setShift({});
    item.setSwipe(0);
    item.setFade(1);
    item.setScale(1);
}

} // namespace kova
