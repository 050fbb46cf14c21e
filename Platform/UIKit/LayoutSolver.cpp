#include "Platform/UIKit/LayoutSolver.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace kova {

namespace {

// Points: far below what a screen shows, far above what sums of them lose.
constexpr double tolerance = 1e-6;
/// What is left of a coefficient after it was cancelled.
constexpr double negligible = 1e-9;

} // namespace

void LayoutSolver::reset(std::size_t variableCount)
{
    m_rows.clear();
    m_terms.clear();
    m_rowOf.assign(variableCount, noRow);
    m_coefficients.assign(variableCount, 0);
    m_isTouched.assign(variableCount, false);
}

LayoutSolver::Outcome LayoutSolver::add(std::span<const Term> terms, double constant)
{
    m_largest = 0;
    for (const auto& term : terms)
        touch(term.variable, term.coefficient);
    const auto scale = std::max(1.0, std::abs(constant));
    constant = reduce(constant);

    // The first of the largest: constraints name what they place first.
    const auto pivot = std::ranges::max_element(
        m_touched, std::less<> {}, [this](Variable variable) { return std::abs(m_coefficients[variable]); });
    auto outcome = Outcome::Taken;
    if (pivot == m_touched.end() || !(std::abs(m_coefficients[*pivot]) > negligible * m_largest))
        outcome = std::abs(constant) <= tolerance * scale ? Outcome::Redundant : Outcome::Contradictory;
    else if (!std::isfinite(constant) || !std::isfinite(m_coefficients[*pivot]))
        outcome = Outcome::Contradictory;

    if (outcome == Outcome::Taken) {
        const auto decided = *pivot;
        const auto coefficient = m_coefficients[decided];
        m_rowOf[decided] = static_cast<std::uint32_t>(m_rows.size());
        m_rows.push_back({.variable = decided, .begin = m_terms.size(), .constant = constant / coefficient});
        for (const auto variable : m_touched) {
            if (variable != decided && std::abs(m_coefficients[variable]) > negligible * m_largest)
                m_terms.push_back({.variable = variable, .coefficient = m_coefficients[variable] / coefficient});
        }
    }
    for (const auto variable : m_touched) {
        m_coefficients[variable] = 0;
        m_isTouched[variable] = false;
    }
    m_touched.clear();
    return outcome;
}

void LayoutSolver::touch(Variable variable, double coefficient)
{
    if (!m_isTouched[variable]) {
        m_isTouched[variable] = true;
        m_touched.push_back(variable);
        if (m_rowOf[variable] != noRow) {
            m_rowsAhead.push_back(m_rowOf[variable]);
            std::ranges::push_heap(m_rowsAhead, std::greater<> {});
        }
    }
    m_coefficients[variable] += coefficient;
    m_largest = std::max(m_largest, std::abs(coefficient));
}

// A row speaks only of variables that no earlier row decides on, so each is put in once, the earliest first.
double LayoutSolver::reduce(double constant)
{
    while (!m_rowsAhead.empty()) {
        std::ranges::pop_heap(m_rowsAhead, std::greater<> {});
        const std::size_t index = m_rowsAhead.back();
        m_rowsAhead.pop_back();
        const auto& row = m_rows[index];
        const auto factor = m_coefficients[row.variable];
        m_coefficients[row.variable] = 0;
        constant -= factor * row.constant;
        const auto end = endOf(index);
        for (auto term = row.begin; term < end; ++term)
            touch(m_terms[term].variable, -factor * m_terms[term].coefficient);
    }
    return constant;
}

std::size_t LayoutSolver::endOf(std::size_t row) const
{
    return row + 1 < m_rows.size() ? m_rows[row + 1].begin : m_terms.size();
}

void LayoutSolver::rewind(std::size_t mark)
{
    if (mark >= m_rows.size())
        return;
    m_terms.resize(m_rows[mark].begin);
    for (; m_rows.size() > mark; m_rows.pop_back())
        m_rowOf[m_rows.back().variable] = noRow;
}

const std::vector<double>& LayoutSolver::values()
{
    m_values.assign(m_rowOf.size(), 0);
    for (auto row = m_rows.size(); row-- > 0;) {
        auto value = m_rows[row].constant;
        const auto end = endOf(row);
        for (auto term = m_rows[row].begin; term < end; ++term)
            value -= m_terms[term].coefficient * m_values[m_terms[term].variable];
        m_values[m_rows[row].variable] = std::isfinite(value) ? value : 0;
    }
    return m_values;
}

} // namespace kova
