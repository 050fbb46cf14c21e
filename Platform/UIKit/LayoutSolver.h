// Linear equations, taken one by one: each decides on one variable more, or says nothing new, or contradicts those
// before it and is left out. So the order in which they come is their order of strength.
//
// The equations stand as a triangle: each expresses its own variable by variables that later ones decide on. Dropping
// the latest ones is therefore cheap, and so is an equation between variables that are known already, which is what
// constraints written from the outside inwards are.

#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace kova {

class LayoutSolver {
public:
    using Variable = std::uint32_t;

    struct Term {
        Variable variable;
        double coefficient;
    };

    enum class Outcome { Taken, Redundant, Contradictory };

    /// Begins anew with that many variables.
    void reset(std::size_t variableCount);

    /// The sum of the terms equals the constant. A variable may come more than once.
    Outcome add(std::span<const Term> terms, double constant);

    /// How many equations were taken; rewind() drops those that were taken since.
    [[nodiscard]] std::size_t mark() const { return m_rows.size(); }
    void rewind(std::size_t mark);

    /// Whether no equation decides on the variable, though others may be expressed by it.
    [[nodiscard]] bool isFree(Variable variable) const { return m_rowOf[variable] == noRow; }

    /// A value for each variable; those that are free are 0, and so is what has no finite value.
    [[nodiscard]] const std::vector<double>& values();

private:
    static constexpr std::uint32_t noRow = UINT32_MAX;

    /// variable = constant - the sum of the terms from `begin` up to where the next row begins.
    struct Row {
        Variable variable;
        std::size_t begin;
        double constant;
    };

    void touch(Variable variable, double coefficient);
    double reduce(double constant);
    [[nodiscard]] std::size_t endOf(std::size_t row) const;

    std::vector<Row> m_rows;
    std::vector<Term> m_terms;
    std::vector<std::uint32_t> m_rowOf;
    std::vector<double> m_values;

    // The equation that is being added.
    std::vector<double> m_coefficients;
    std::vector<bool> m_isTouched;
    std::vector<Variable> m_touched;
    /// A heap of the rows still to be put in, the earliest first.
    std::vector<std::uint32_t> m_rowsAhead;
    double m_largest = 0;
};

} // namespace kova
