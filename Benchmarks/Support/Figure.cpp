#include "Benchmarks/Support/Figure.h"

#include <iomanip>
#include <iostream>
#include <sstream>

namespace kova::benchmarks {

namespace {

std::string goal(const Figure& figure, double ratio)
{
    if (!figure.atMost && !figure.atLeast)
        return "-";
    const bool isMet = ratio <= figure.atMost.value_or(ratio) && ratio >= figure.atLeast.value_or(ratio);
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << (figure.atMost ? "<= " : ">= ")
         << figure.atMost.value_or(figure.atLeast.value_or(0)) << (isMet ? "  met" : "  MISSED");
    return text.str();
}

} // namespace

std::string shown(double number)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(number < 100 ? 2 : 0) << number;
    return text.str();
}

// ./bench prints the heading over these columns.
void report(const Figure& figure)
{
    const auto ratio = figure.value / figure.bound;
    std::ostringstream line;
    line << std::left << std::setw(50) << figure.what << std::right << std::setw(10) << shown(figure.value)
         << std::setw(10) << shown(figure.bound) << "  " << std::left << std::setw(10) << figure.unit << std::right
         << std::fixed << std::setprecision(2) << std::setw(6) << ratio << "  " << goal(figure, ratio);
    std::cout << line.str() << std::endl;
}

void note(std::string_view text)
{
    std::cout << "  " << text << std::endl;
}

} // namespace kova::benchmarks
