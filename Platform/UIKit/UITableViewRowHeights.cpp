#include "Platform/UIKit/UITableViewRowHeights.h"

#include <algorithm>
#include <utility>

namespace kova {

namespace {

double plausible(double height)
{
    return height > 0 ? height : 0;
}

} // namespace

void UITableViewRowHeights::reset(double usual)
{
    m_usual = plausible(usual);
    m_deviations.clear();
    m_sums.clear();
}

void UITableViewRowHeights::set(std::int64_t row, double height)
{
    const double difference = plausible(height) - m_usual;
    const auto place = m_deviations.begin() + (find(row) - m_deviations.cbegin());
    const bool isKnown = place != m_deviations.end() && place->row == row;
    if (isKnown ? place->difference == difference : difference == 0)
        return;
    m_sums.resize(std::min<std::size_t>(m_sums.size(), place - m_deviations.begin()));
    if (!isKnown)
        m_deviations.insert(place, {.row = row, .difference = difference});
    else if (difference == 0)
        m_deviations.erase(place);
    else
        place->difference = difference;
}

void UITableViewRowHeights::renumber(const std::function<std::optional<std::int64_t>(std::int64_t)>& newRow)
{
    std::vector<Deviation> moved;
    moved.reserve(m_deviations.size());
    for (const auto& deviation : m_deviations) {
        if (const auto row = newRow(deviation.row))
            moved.push_back({.row = *row, .difference = deviation.difference});
    }
    m_deviations = std::move(moved);
    m_sums.clear();
}

double UITableViewRowHeights::height(std::int64_t row) const
{
    const auto found = find(row);
    return m_usual + (found != m_deviations.end() && found->row == row ? found->difference : 0);
}

double UITableViewRowHeights::offset(std::int64_t row) const
{
    const auto before = static_cast<std::size_t>(find(row) - m_deviations.begin());
    while (m_sums.size() < before) {
        const auto& next = m_deviations[m_sums.size()];
        m_sums.push_back((m_sums.empty() ? 0 : m_sums.back()) + next.difference);
    }
    return static_cast<double>(row) * m_usual + (before == 0 ? 0 : m_sums[before - 1]);
}

std::int64_t UITableViewRowHeights::rowAt(double y, std::int64_t rowCount) const
{
    std::int64_t first = 0;
    for (auto count = rowCount; count > 0;) {
        const auto half = count / 2;
        if (offset(first + half + 1) > y) {
            count = half;
        } else {
            first += half + 1;
            count -= half + 1;
        }
    }
    return first;
}

std::vector<UITableViewRowHeights::Deviation>::const_iterator UITableViewRowHeights::find(std::int64_t row) const
{
    return std::ranges::lower_bound(m_deviations, row, {}, &Deviation::row);
}

} // namespace kova
