#include "Platform/UIKit/NSLayoutConstraint.h"

#include "Platform/Foundation/Print.h"
#include "Platform/UIKit/UIView.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace kova {

NSLayoutConstraint::NSLayoutConstraint(UIView* item, NSLayoutAttribute attribute, NSLayoutRelation relatedBy,
    UIView* toItem, NSLayoutAttribute toAttribute, double multiplier, double constant)
    : m_firstItem(item)
    , m_firstAttribute(attribute)
    , m_relation(relatedBy)
    , m_secondItem(toItem)
    , m_secondAttribute(toAttribute)
    , m_multiplier(multiplier)
    , m_constant(constant)
{
}

void NSLayoutConstraint::activate(const List& constraints)
{
    for (const auto& constraint : constraints)
        activateOne(constraint);
}

void NSLayoutConstraint::deactivate(const List& constraints)
{
    for (const auto& constraint : constraints)
        constraint->deactivate();
}

UIView* NSLayoutConstraint::commonView() const
{
    auto* common = firstItem();
    if (const auto* const second = secondItem()) {
        while (common && !second->isDescendant(common))
            common = common->superview();
    }
    return common;
}

void NSLayoutConstraint::activateOne(const std::shared_ptr<NSLayoutConstraint>& constraint)
{
    if (constraint->isActive())
        return;
    auto* const holder = constraint->commonView();
    if (!holder)
        fatalError("a constraint needs a view, and its two views need one in common above them");
    constraint->m_holder = holder;
    holder->m_constraints.push_back(constraint);
    auto* const first = constraint->firstItem();
    auto* const second = constraint->secondItem();
    first->m_mentions.push_back(constraint.get());
    first->setNeedsSolving();
    if (second && second != first) {
        second->m_mentions.push_back(constraint.get());
        second->setNeedsSolving();
    }
}

void NSLayoutConstraint::deactivate()
{
    auto* const holder = m_holder.get();
    if (!holder)
        return;
    // Searched from the end: views come down in the opposite order of their building.
    auto& held = holder->m_constraints;
    const auto found = std::ranges::find(held.rbegin(), held.rend(), this, &std::shared_ptr<NSLayoutConstraint>::get);
    const auto self = std::move(*found);
    held.erase(std::prev(found.base()));
    m_holder = nullptr;
    for (auto* const item : {firstItem(), secondItem()}) {
        if (!item)
            continue;
        auto& mentions = item->m_mentions;
        if (const auto own = std::ranges::find(mentions.rbegin(), mentions.rend(), this); own != mentions.rend()) {
            mentions.erase(std::prev(own.base()));
            item->setNeedsSolving();
        }
    }
}

} // namespace kova
