// One linear relation between two views: first.attribute (=, <=, >=) multiplier * second.attribute + constant.
//
// It takes effect when it is activated: the nearest view above both holds it from then on. Main thread only.

#pragma once

#include "Platform/Foundation/Export.h"
#include "Platform/UIKit/NSLayoutAttribute.h"
#include "Platform/UIKit/WeakLink.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kova {

class UIView;

class KOVA_EXPORT NSLayoutConstraint : public Linkable {
public:
    using List = std::vector<std::shared_ptr<NSLayoutConstraint>>;

    /// What must hold; anything less is a wish, the higher the stronger.
    static constexpr double requiredPriority = 1000;

    NSLayoutConstraint(UIView* item, NSLayoutAttribute attribute, NSLayoutRelation relatedBy, UIView* toItem,
        NSLayoutAttribute toAttribute, double multiplier, double constant);

    /// The constraints of a visual-format text: one line "H:" or "V:" of views and fixed gaps between the edges of the
    /// superview, as in "H:|-0-[name]-8-[other(40)]-0-|". A view that is not in `views`, or a text that is not of that
    /// kind, stops the process: the text is the program's own.
    [[nodiscard]] static List constraints(
        std::string_view withVisualFormat, const std::map<std::string, UIView*>& views);

    /// Activates each. A constraint between views that have no view in common stops the process.
    static void activate(const List& constraints);
    static void deactivate(const List& constraints);
    [[nodiscard]] bool isActive() const { return m_holder.get() != nullptr; }

    [[nodiscard]] UIView* firstItem() const { return m_firstItem.get(); }
    [[nodiscard]] NSLayoutAttribute firstAttribute() const { return m_firstAttribute; }
    [[nodiscard]] NSLayoutRelation relation() const { return m_relation; }
    /// Null when the relation is to the constant alone.
    [[nodiscard]] UIView* secondItem() const { return m_secondItem.get(); }
    [[nodiscard]] NSLayoutAttribute secondAttribute() const { return m_secondAttribute; }
    [[nodiscard]] double multiplier() const { return m_multiplier; }
    [[nodiscard]] double constant() const { return m_constant; }
    [[nodiscard]] double priority() const { return m_priority; }
    /// To be set before activation.
    void setPriority(double priority) { m_priority = priority; }

private:
    friend class LayoutSet;
    friend class UIView;

    static void activateOne(const std::shared_ptr<NSLayoutConstraint>& constraint);
    void deactivate();
    [[nodiscard]] UIView* commonView() const;

    WeakLink<UIView> m_firstItem;
    NSLayoutAttribute m_firstAttribute;
    NSLayoutRelation m_relation;
    WeakLink<UIView> m_secondItem;
    NSLayoutAttribute m_secondAttribute;
    double m_multiplier;
    double m_constant;
    double m_priority = requiredPriority;
    /// The view that holds it while it is active.
    WeakLink<UIView> m_holder;
    bool m_isTroubleSaid = false;
};

} // namespace kova
