#include "Platform/UIKit/LayoutSolver.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <random>
#include <vector>

namespace kova {
namespace {

using Outcome = LayoutSolver::Outcome;
using Term = LayoutSolver::Term;

struct Equation {
    std::vector<Term> terms;
    double constant;
};

// Systems made from a known solution have no contradiction, whatever their order; what the solver says of a variable
// that they decide on is that solution, and dropping the latest equations leaves what was before.
TEST(LayoutSolver, FindsTheSolutionThatRandomEquationsWereMadeFrom)
{
    std::mt19937 random {42};
    const auto number
        = [&random](double low, double high) { return std::uniform_real_distribution {low, high}(random); };
    for (int round = 0; round < 300; ++round) {
        const auto count = std::uniform_int_distribution<std::size_t> {1, 40}(random);
        std::vector<double> solution(count);
        for (auto& value : solution)
            value = number(-500, 500);
        std::vector<Equation> equations(count * 2);
        for (auto& equation : equations) {
            equation.constant = 0;
            const auto terms = std::uniform_int_distribution {1, 4}(random);
            for (int term = 0; term < terms; ++term) {
                const auto variable = std::uniform_int_distribution<std::size_t> {0, count - 1}(random);
                const auto coefficient = number(0.5, 2) * (number(-1, 1) < 0 ? -1 : 1);
                equation.terms.push_back({static_cast<LayoutSolver::Variable>(variable), coefficient});
                equation.constant += coefficient * solution[variable];
            }
        }
        LayoutSolver solver;
        solver.reset(count);
        const auto half = equations.size() / 2;
        for (std::size_t index = 0; index < half; ++index)
            ASSERT_NE(solver.add(equations[index].terms, equations[index].constant), Outcome::Contradictory);
        const auto mark = solver.mark();
        const auto before = solver.values();
        for (std::size_t index = half; index < equations.size(); ++index)
            ASSERT_NE(solver.add(equations[index].terms, equations[index].constant), Outcome::Contradictory);
        for (const auto values = solver.values(); const auto& equation : equations) {
            double sum = 0;
            for (const auto& term : equation.terms)
                sum += term.coefficient * values[term.variable];
            EXPECT_NEAR(sum, equation.constant, 1e-5);
        }
        solver.rewind(mark);
        EXPECT_EQ(solver.values(), before);
        // Once everything is fixed at the solution, nothing else is taken.
        for (std::size_t variable = 0; variable < count; ++variable) {
            const std::array only {Term {static_cast<LayoutSolver::Variable>(variable), 1}};
            EXPECT_NE(solver.add(only, solution[variable]), Outcome::Contradictory);
            EXPECT_FALSE(solver.isFree(static_cast<LayoutSolver::Variable>(variable)));
            EXPECT_EQ(solver.add(only, solution[variable] + 0.01), Outcome::Contradictory);
        }
        EXPECT_EQ(solver.mark(), count);
    }
}

} // namespace
} // namespace kova
