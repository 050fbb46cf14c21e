// Where the rows of a table lie, without a height kept for each.
//
// One height stands for all rows; the rows that were found to differ are kept beside it. A table of equal rows costs
// nothing here, however long it is, and a place is found by bisection.

#pragma once

#include "Platform/Foundation/Export.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace kova {

class KOVA_EXPORT UITableViewRowHeights {
public:
    /// What a row measures when nobody says.
    static constexpr double standard = 44;

    /// Forgets every row; `usual` is the height of all from now on.
    void reset(double usual);
    /// What is below zero, or no number, counts as zero.
    void set(std::int64_t row, double height);
    /// Follows the rows to their new numbers; a row without one is forgotten. Rows keep their order.
    void renumber(const std::function<std::optional<std::int64_t>(std::int64_t)>& newRow);

    [[nodiscard]] double height(std::int64_t row) const;
    /// Where the row begins; for the number of rows, where the last one ends.
    [[nodiscard]] double offset(std::int64_t row) const;
    /// The first of so many rows that ends below `y`; their number when none does.
    [[nodiscard]] std::int64_t rowAt(double y, std::int64_t rowCount) const;

private:
    struct Deviation {
        std::int64_t row;
        /// How much higher than the usual row this one is.
        double difference;
    };

    [[nodiscard]] std::vector<Deviation>::const_iterator find(std::int64_t row) const;

    double m_usual = standard;
    /// By row.
    std::vector<Deviation> m_deviations;
    /// The sum of the differences up to each deviation, it included, as far as they have been needed.
    mutable std::vector<double> m_sums;
};

} // namespace kova
