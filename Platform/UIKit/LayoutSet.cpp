#include "Platform/UIKit/LayoutSet.h"

#include "Platform/UIKit/LayoutTrouble.h"
#include "Platform/UIKit/NSLayoutConstraint.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

namespace kova {

namespace {

using Variable = LayoutSolver::Variable;

// A view's variables; positions are relative to the root of the set.
enum Which : Variable { X, Y, Width, Height, variablesPerView };

Variable variable(std::size_t index, Which which)
{
    return static_cast<Variable>(index * variablesPerView + which);
}

/// What counts as broken, in points.
constexpr double tolerance = 1e-6;
/// How often an inequality may become an equality in one solution, so that two that contradict each other end.
constexpr int maximumTrials = 2;
/// So often only the worst inequality is heeded, then all that are broken, and then no more: however many there are, a
/// solution comes soon.
constexpr int roundsForWorst = 16;
constexpr int maximumRounds = 32;
/// More than so many that hold at once are not examined for needless ones.
constexpr std::size_t maximumExamined = 8;

/// A priority that can be ordered.
double bounded(double priority)
{
    return priority > 0 ? std::min(priority, NSLayoutConstraint::requiredPriority) : 0;
}

/// Without the last bits that sums lose: they would make frames differ that are the same.
double snapped(double value)
{
    constexpr double grid = 64;
    const auto near = std::round(value * grid) / grid;
    return std::abs(value - near) < tolerance ? near : value;
}

} // namespace

void LayoutSet::Sum::add(Variable term, double coefficient)
{
    terms[count++] = {.variable = term, .coefficient = coefficient};
}

bool LayoutSet::Relation::isRequired() const
{
    return priority >= NSLayoutConstraint::requiredPriority;
}

void LayoutSet::solve(UIView& root)
{
    m_root = &root;
    gatherViews(root);
    if (m_views.empty())
        return;
    gatherConstraints();
    gatherContents();
    solveRelations();
    if (adaptHeights())
        solveRelations();
    sayTroubles();
    placeViews();
}

void LayoutSet::gatherViews(UIView& root)
{
    m_views.clear();
    const auto gatherBeneath = [this](const UIView& view) {
        for (const auto& child : view.m_subviews) {
            if (child->m_keepsFrame)
                continue;
            child->m_needsSolving = false;
            child->m_layoutIndex = static_cast<std::uint32_t>(m_views.size());
            m_views.push_back(child.get());
        }
    };
    gatherBeneath(root);
    for (std::size_t index = 0; index < m_views.size(); ++index)
        gatherBeneath(*m_views[index]);
}

bool LayoutSet::isMember(const UIView& view) const
{
    return view.m_layoutIndex < m_views.size() && m_views[view.m_layoutIndex] == &view;
}

void LayoutSet::gatherConstraints()
{
    m_relations.clear();
    for (const auto* const view : m_views) {
        for (auto* const constraint : view->m_mentions) {
            const auto* const first = constraint->firstItem();
            const auto* const second = constraint->secondItem();
            // One between two views of the set is met twice.
            if (!first || (first != view && isMember(*first)))
                continue;
            Relation relation {.sum = {},
                .relation = constraint->relation(),
                .priority = bounded(constraint->priority()),
                .constraint = constraint,
                .order = m_relations.size()};
            const bool isWithinReach = append(relation.sum, *first, constraint->firstAttribute(), 1)
                && (!second || append(relation.sum, *second, constraint->secondAttribute(), -constraint->multiplier()));
            if (!isWithinReach)
                continue;
            relation.sum.constant -= constraint->constant();
            if (std::isfinite(relation.sum.constant) && std::isfinite(constraint->multiplier()))
                m_relations.push_back(relation);
            else
                sayUnsatisfiable(*constraint, constraint->m_isTroubleSaid);
        }
    }
    // Mostly all are required, and nothing moves. Equal ones keep their order.
    std::ranges::sort(m_relations, [](const Relation& one, const Relation& other) {
        return one.priority != other.priority ? one.priority > other.priority : one.order < other.order;
    });
}

/// Adds where the item's attribute is. False when the item lies in a set further in, which is solved later and heeds
/// the constraint then.
bool LayoutSet::append(Sum& sum, const UIView& item, NSLayoutAttribute attribute, double factor) const
{
    CGRect known;
    const auto* anchor = &item;
    if (!isMember(item)) {
        if (&item == m_root) {
            known = {{}, item.m_frame.size};
        } else if (item.m_superview && (item.m_superview == m_root || isMember(*item.m_superview))) {
            known = item.m_frame;
            anchor = item.m_superview;
        } else if (item.isDescendant(m_root)) {
            return false;
        } else {
            const auto origin = m_root->convert({}, nullptr).origin;
            known = item.convert(item.bounds(), nullptr);
            known.origin.x -= origin.x;
            known.origin.y -= origin.y;
            anchor = m_root;
        }
    }
    const bool isItself = anchor == &item && &item != m_root;
    const auto add = [&](Which which, double share) {
        const auto coefficient = factor * share;
        const bool isPosition = which == X || which == Y;
        if (isItself || (isPosition && anchor != m_root))
            sum.add(variable(anchor->m_layoutIndex, which), coefficient);
        if (!isItself) {
            const std::array numbers {known.origin.x, known.origin.y, known.size.width, known.size.height};
            sum.constant += coefficient * numbers[which];
        }
    };
    switch (attribute) {
    case NSLayoutAttribute::left:
    case NSLayoutAttribute::right:
    case NSLayoutAttribute::centerX:
        add(X, 1);
        if (attribute != NSLayoutAttribute::left)
            add(Width, attribute == NSLayoutAttribute::right ? 1 : 0.5);
        break;
    case NSLayoutAttribute::top:
    case NSLayoutAttribute::bottom:
    case NSLayoutAttribute::centerY:
        add(Y, 1);
        if (attribute != NSLayoutAttribute::top)
            add(Height, attribute == NSLayoutAttribute::bottom ? 1 : 0.5);
        break;
    case NSLayoutAttribute::width:
        add(Width, 1);
        break;
    case NSLayoutAttribute::height:
        add(Height, 1);
        break;
    case NSLayoutAttribute::notAnAttribute:
        break;
    }
    return true;
}

void LayoutSet::gatherContents()
{
    m_wishes.clear();
    for (std::size_t index = 0; index < m_views.size(); ++index) {
        const auto size = m_views[index]->intrinsicContentSize();
        if (size.width >= 0)
            m_wishes.push_back({.variable = variable(index, Width), .value = size.width});
        if (size.height >= 0)
            m_wishes.push_back({.variable = variable(index, Height), .value = size.height});
    }
}

void LayoutSet::solveRelations()
{
    m_solver.reset(m_views.size() * variablesPerView);
    m_active.clear();
    for (auto& relation : m_relations) {
        relation.isActive = false;
        relation.trials = 0;
        if (!relation.isRequired() || relation.relation != NSLayoutRelation::equal)
            continue;
        const auto outcome
            = m_solver.add(std::span {relation.sum.terms}.first(relation.sum.count), -relation.sum.constant);
        if (outcome == LayoutSolver::Outcome::Contradictory)
            sayUnsatisfiable(*relation.constraint, relation.constraint->m_isTroubleSaid);
    }
    m_required = m_solver.mark();
    solveOnce();
    for (int round = 0; round < maximumRounds; ++round) {
        const auto broken = brokenInequalities(round < roundsForWorst ? 1 : m_relations.size());
        if (broken.empty())
            break;
        for (auto* const relation : broken) {
            relation->isActive = true;
            ++relation->trials;
        }
        m_active.insert(m_active.begin(), broken.begin(), broken.end());
        solveOnce();
    }
    dropNeedless();
}

void LayoutSet::solveOnce()
{
    m_solver.rewind(m_required);
    const auto add = [this](const Relation& relation) {
        return m_solver.add(std::span {relation.sum.terms}.first(relation.sum.count), -relation.sum.constant);
    };
    // The latest comes first, so that what contradicts it among the others gives way: it was not the worst.
    std::erase_if(m_active, [&](Relation* relation) {
        if (relation->isRequired() && add(*relation) == LayoutSolver::Outcome::Contradictory)
            relation->isActive = false;
        return !relation->isActive;
    });
    for (const auto& relation : m_relations) {
        if (!relation.isRequired() && (relation.isActive || relation.relation == NSLayoutRelation::equal))
            add(relation);
    }
    for (const auto& wish : m_wishes)
        m_solver.add(std::array {LayoutSolver::Term {.variable = wish.variable, .coefficient = 1}}, wish.value);
    addDefaults();
    m_values = m_solver.values();
}

void LayoutSet::addDefaults()
{
    m_ambiguous.clear();
    for (std::size_t index = 0; index < m_views.size(); ++index) {
        bool isOpen = false;
        for (const auto which : {Width, Height, X, Y}) {
            const auto open = variable(index, which);
            if (!m_solver.isFree(open))
                continue;
            isOpen = true;
            const auto* const above = m_views[index]->m_superview;
            if ((which == X || which == Y) && above != m_root) {
                m_solver.add(
                    std::array {LayoutSolver::Term {.variable = open, .coefficient = 1},
                        LayoutSolver::Term {.variable = variable(above->m_layoutIndex, which), .coefficient = -1}},
                    0);
            }
            if (m_solver.isFree(open))
                m_solver.add(std::array {LayoutSolver::Term {.variable = open, .coefficient = 1}}, 0);
        }
        if (isOpen)
            m_ambiguous.push_back(m_views[index]);
    }
}

/// By how many points an inequality is broken; not positive when it is kept.
double LayoutSet::excess(const Relation& relation) const
{
    auto value = relation.sum.constant;
    for (const auto& term : std::span {relation.sum.terms}.first(relation.sum.count))
        value += term.coefficient * m_values[term.variable];
    return relation.relation == NSLayoutRelation::lessThanOrEqual ? value : -value;
}

/// The worst ones, required ones before wishes, the very worst first.
std::vector<LayoutSet::Relation*> LayoutSet::brokenInequalities(std::size_t atMost)
{
    std::vector<Relation*> broken;
    for (auto& relation : m_relations) {
        const bool mayBecomeActive
            = relation.relation != NSLayoutRelation::equal && !relation.isActive && relation.trials < maximumTrials;
        if (mayBecomeActive && excess(relation) > tolerance)
            broken.push_back(&relation);
    }
    std::ranges::sort(broken, [this](const Relation* one, const Relation* other) {
        const auto more = excess(*one) - excess(*other);
        if (one->priority != other->priority)
            return one->priority > other->priority;
        return more != 0 ? more > 0 : one->order < other->order;
    });
    broken.resize(std::min(broken.size(), atMost));
    return broken;
}

// One that was broken while another was not yet heeded may be kept without its help now.
void LayoutSet::dropNeedless()
{
    if (m_active.size() < 2 || m_active.size() > maximumExamined)
        return;
    const auto all = m_active;
    for (auto* const examined : all) {
        const auto before = m_active;
        examined->isActive = false;
        std::erase(m_active, examined);
        solveOnce();
        const bool isNeeded = std::ranges::any_of(m_relations, [this](const Relation& relation) {
            return relation.relation != NSLayoutRelation::equal && !relation.isActive && excess(relation) > tolerance;
        });
        if (!isNeeded)
            continue;
        m_active = before;
        for (auto* const relation : m_active)
            relation->isActive = true;
    }
    solveOnce();
}

/// Gives texts of several lines the height that their width asks for. True when one differs from what was solved with.
bool LayoutSet::adaptHeights()
{
    bool differs = false;
    for (auto& wish : m_wishes) {
        const auto index = wish.variable / variablesPerView;
        const auto& view = *m_views[index];
        if (wish.variable != variable(index, Height) || !view.heightFollowsWidth())
            continue;
        const auto width = std::max(0.0, snapped(m_values[variable(index, Width)]));
        const auto height = view.sizeThatFits({width, std::numeric_limits<double>::infinity()}).height;
        if (height != wish.value) {
            wish.value = height;
            differs = true;
        }
    }
    return differs;
}

void LayoutSet::sayTroubles()
{
    for (auto& relation : m_relations) {
        if (relation.isRequired() && relation.relation != NSLayoutRelation::equal && excess(relation) > tolerance)
            sayUnsatisfiable(*relation.constraint, relation.constraint->m_isTroubleSaid);
    }
    for (auto* const view : m_ambiguous)
        sayAmbiguous(*view, view->m_isAmbiguitySaid);
}

void LayoutSet::placeViews() const
{
    for (std::size_t index = 0; index < m_views.size(); ++index) {
        auto& view = *m_views[index];
        const auto value = [this](const UIView& of, Which which) {
            return &of == m_root ? 0 : m_values[variable(of.m_layoutIndex, which)];
        };
        view.place({snapped(value(view, X) - value(*view.m_superview, X)),
            snapped(value(view, Y) - value(*view.m_superview, Y)), std::max(0.0, snapped(value(view, Width))),
            std::max(0.0, snapped(value(view, Height)))});
    }
}

} // namespace kova
