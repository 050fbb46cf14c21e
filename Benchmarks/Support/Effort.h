// How long a benchmark measures: a tenth with --quick, for a look in between.

#pragma once

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string_view>

namespace kova::benchmarks {

class Effort {
public:
    Effort(int argumentCount, char** arguments)
        : m_isQuick(argumentCount == 2 && std::string_view {arguments[1]} == "--quick")
    {
        if (argumentCount > 1 && !m_isQuick) {
            std::cerr << "usage: " << arguments[0] << " [--quick]\n";
            std::exit(2);
        }
    }

    [[nodiscard]] int rounds(int all) const { return m_isQuick ? std::max(all / 10, 3) : all; }

private:
    bool m_isQuick;
};

} // namespace kova::benchmarks
