#include "Benchmarks/Support/Figure.h"

#include <iomanip>
#include <iostream>
#include <sstream>

namespace kova::benchmarks {

namespace {

std::string verdict(const Figure& figure)
{
    if (!figure.goal)
        return "-";
    const auto bound = figure.bound.value_or(0);
    switch (const auto [of, limit] = *figure.goal; of) {
    case Goal::Of::Ratio:
        return "<= " + shown(limit) + (figure.value / bound <= limit ? "  met" : "  MISSED");
    case Goal::Of::Value:
        return "<= " + shown(limit) + " " + figure.unit + (figure.value <= limit ? "  met" : "  MISSED");
    case Goal::Of::Excess:
        return "<= bound + " + shown(limit) + " " + figure.unit
            + (figure.value - bound <= limit ? "  met" : "  MISSED");
    }
    return {};
}

std::string fixed(double number, int digits)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << number;
    return text.str();
}

} // namespace

std::string shown(double number)
{
    return fixed(number, number < 100 ? 2 : 0);
}

// ./bench prints the heading over these columns.
void report(const Figure& figure)
{
    std::ostringstream line;
    line << std::left << std::setw(54) << figure.what << std::right << std::setw(10) << shown(figure.value)
         << std::setw(10) << (figure.bound ? shown(*figure.bound) : "-") << "  " << std::left << std::setw(5)
         << figure.unit << std::right << std::setw(8) << (figure.bound ? fixed(figure.value / *figure.bound, 2) : "-")
         << "  " << verdict(figure);
    std::cout << line.str() << std::endl;
}

void note(std::string_view text)
{
    std::cout << "  " << text << std::endl;
}

} // namespace kova::benchmarks
