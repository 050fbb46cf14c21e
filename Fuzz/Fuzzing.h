// What the fuzzers share.

#pragma once

#include "Platform/Foundation/Value.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <source_location>

namespace kova {

/// Stops the fuzzer with the input at hand when something that must hold does not, saying where.
inline void require(bool holds, const std::source_location& where = std::source_location::current())
{
    if (holds)
        return;
    std::fprintf(stderr, "Fatal error: what must hold does not, %s:%u\n", where.file_name(), where.line());
    std::abort();
}

/// Whether two trees are the same after a round trip. Not-a-number equals itself here; and as JSON writes a double
/// without fraction as a whole number, 10.0 equals 10.
inline bool isSameTree(const Value& left, const Value& right)
{
    const auto number = [](const Value& value) -> const double* { return value.as<double>(); };
    const auto* leftArray = left.as<Value::Array>();
    const auto* rightArray = right.as<Value::Array>();
    if (leftArray && rightArray) {
        if (leftArray->size() != rightArray->size())
            return false;
        for (std::size_t index = 0; index < leftArray->size(); ++index) {
            if (!isSameTree((*leftArray)[index], (*rightArray)[index]))
                return false;
        }
        return true;
    }
    const auto* leftDictionary = left.as<Value::Dictionary>();
    const auto* rightDictionary = right.as<Value::Dictionary>();
    if (leftDictionary && rightDictionary) {
        if (leftDictionary->size() != rightDictionary->size())
            return false;
        for (auto first = leftDictionary->begin(), second = rightDictionary->begin(); first != leftDictionary->end();
            ++first, ++second) {
            if (first->first != second->first || !isSameTree(first->second, second->second))
                return false;
        }
        return true;
    }
    if (const auto* first = number(left)) {
        if (const auto* whole = right.as<std::int64_t>())
            return *first == static_cast<double>(*whole);
        const auto* second = number(right);
        return second && (*first == *second || (std::isnan(*first) && std::isnan(*second)));
    }
    if (const auto* first = left.as<Date>()) {
        const auto* second = right.as<Date>();
        const auto difference = second ? first->secondsSince1970 - second->secondsSince1970 : 1.0;
        // Lists count from another year, which costs a small date its last digits.
        return second && (*first == *second || !(std::abs(difference) > 1e-6));
    }
    return left == right;
}

} // namespace kova
