#include "Platform/Qt/ItemAnimation_p.h"

#include <QPropertyAnimation>

namespace kova {

namespace {

void stop(ViewItem& item, const QString& property)
{
    if (auto* const running = item.findChild<QPropertyAnimation*>(property, Qt::FindDirectChildrenOnly)) {
        running->setObjectName({});
        QObject::disconnect(running, &QPropertyAnimation::finished, nullptr, nullptr);
        running->stop();
    }
}

} // namespace

void ItemAnimation::run(ViewItem& item, std::function<void()> ended) const
{
    stop(item, QLatin1String {property});
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

void ItemAnimation::reset(ViewItem& item)
{
    for (const auto* property : {"shift", "fade", "alpha"})
        stop(item, QLatin1String {property});
    item.setShift({});
    item.setFade(1);
    item.setScale(1);
}

} // namespace kova
