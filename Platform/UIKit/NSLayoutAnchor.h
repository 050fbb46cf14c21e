// One edge, centre or extent of a view, from which constraints are made.
//
// Left and right are absolute: they do not swap where text runs from right to left. Main thread only.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/NSLayoutAttribute.h"
#include "Platform/UIKit/WeakLink.h"

#include <memory>

namespace kova {

class NSLayoutConstraint;
class UIView;

class KOVA_EXPORT NSLayoutAnchor {
public:
    NSLayoutAnchor(UIView* view, NSLayoutAttribute attribute)
        : m_view(view)
        , m_attribute(attribute)
    {
    }

    // Constraints that are not active yet: this anchor stands in the relation to the other one plus the constant.
    [[nodiscard]] std::shared_ptr<NSLayoutConstraint> equalTo(const NSLayoutAnchor& anchor, double constant = 0) const;
    [[nodiscard]] std::shared_ptr<NSLayoutConstraint> lessThanOrEqualTo(
        const NSLayoutAnchor& anchor, double constant = 0) const;
    [[nodiscard]] std::shared_ptr<NSLayoutConstraint> greaterThanOrEqualTo(
        const NSLayoutAnchor& anchor, double constant = 0) const;
    /// For widths and heights.
    [[nodiscard]] std::shared_ptr<NSLayoutConstraint> equalToConstant(double constant) const;

private:
    UIView* m_view;
    NSLayoutAttribute m_attribute;
};

} // namespace kova
