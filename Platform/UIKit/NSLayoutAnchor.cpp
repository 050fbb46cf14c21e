#include "Platform/UIKit/NSLayoutAnchor.h"

#include "Platform/UIKit/NSLayoutConstraint.h"

namespace kova {

std::shared_ptr<NSLayoutConstraint> NSLayoutAnchor::equalTo(const NSLayoutAnchor& anchor, double constant) const
{
    return std::make_shared<NSLayoutConstraint>(
        m_view, m_attribute, NSLayoutRelation::equal, anchor.m_view, anchor.m_attribute, 1, constant);
}

std::shared_ptr<NSLayoutConstraint> NSLayoutAnchor::lessThanOrEqualTo(
    const NSLayoutAnchor& anchor, double constant) const
{
    return std::make_shared<NSLayoutConstraint>(
        m_view, m_attribute, NSLayoutRelation::lessThanOrEqual, anchor.m_view, anchor.m_attribute, 1, constant);
}

std::shared_ptr<NSLayoutConstraint> NSLayoutAnchor::greaterThanOrEqualTo(
    const NSLayoutAnchor& anchor, double constant) const
{
    return std::make_shared<NSLayoutConstraint>(
        m_view, m_attribute, NSLayoutRelation::greaterThanOrEqual, anchor.m_view, anchor.m_attribute, 1, constant);
}

std::shared_ptr<NSLayoutConstraint> NSLayoutAnchor::equalToConstant(double constant) const
{
    return std::make_shared<NSLayoutConstraint>(
        m_view, m_attribute, NSLayoutRelation::equal, nullptr, NSLayoutAttribute::notAnAttribute, 1, constant);
}

} // namespace kova
