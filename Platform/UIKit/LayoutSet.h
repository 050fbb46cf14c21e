// One set of constraints and the views whose frames it decides: those beneath a view that keeps its frame, down to the
// next ones that keep theirs.
//
// What decides, in order: required equalities; required inequalities that would be broken otherwise, as equalities; the
// wishes among the constraints by their priority; the sizes that contents wish. What is still open is 0: a size, or the
// distance from the superview's left or top edge. A required constraint that contradicts those before it is left out,
// and so is one whose numbers are not finite; both are said once on standard error, as is a view with something open.
// Main thread only.

#pragma once

#include "Platform/UIKit/LayoutSolver.h"
#include "Platform/UIKit/NSLayoutAttribute.h"
#include "Platform/UIKit/UIView.h"

#include <array>
#include <cstddef>
#include <vector>

namespace kova {

class LayoutSet {
public:
    /// Solves what lies beneath `root` and gives each view its frame.
    void solve(UIView& root);

private:
    /// A sum of terms and a number: where an edge is, or how wide a view.
    struct Sum {
        std::array<LayoutSolver::Term, 4> terms {};
        std::size_t count = 0;
        double constant = 0;

        void add(LayoutSolver::Variable variable, double coefficient);
    };

    /// `sum` (=, <=, >=) 0.
    struct Relation {
        Sum sum;
        NSLayoutRelation relation;
        double priority;
        NSLayoutConstraint* constraint;
        /// How many were gathered before it.
        std::size_t order = 0;
        // Of inequalities: whether it stands as an equality now, and how often it was tried.
        bool isActive = false;
        int trials = 0;

        [[nodiscard]] bool isRequired() const;
    };

    /// What a view's content wishes.
    struct Wish {
        LayoutSolver::Variable variable;
        double value;
    };

    void gatherViews(UIView& root);
    void gatherConstraints();
    void gatherContents();
    [[nodiscard]] bool append(Sum& sum, const UIView& item, NSLayoutAttribute attribute, double factor) const;
    [[nodiscard]] bool isMember(const UIView& view) const;

    void solveRelations();
    void solveOnce();
    void addDefaults();
    [[nodiscard]] std::vector<Relation*> brokenInequalities(std::size_t atMost);
    [[nodiscard]] double excess(const Relation& relation) const;
    void dropNeedless();
    bool adaptHeights();
    void placeViews() const;
    void sayTroubles();

    UIView* m_root = nullptr;
    std::vector<UIView*> m_views;
    /// Those that are not required come last, the strongest first.
    std::vector<Relation> m_relations;
    /// Inequalities that stand as equalities, the latest first.
    std::vector<Relation*> m_active;
    std::vector<Wish> m_wishes;
    LayoutSolver m_solver;
    /// Where the solver stands after the required equalities.
    std::size_t m_required = 0;
    std::vector<double> m_values;
    std::vector<UIView*> m_ambiguous;
};

} // namespace kova
