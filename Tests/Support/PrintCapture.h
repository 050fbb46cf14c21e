// Collects the log lines that are printed while it lives, instead of letting them reach standard output.

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kova::tests {

class PrintCapture {
public:
    PrintCapture();
    ~PrintCapture();
    PrintCapture(const PrintCapture&) = delete;
    PrintCapture& operator=(const PrintCapture&) = delete;

    /// The lines so far, without their final newline.
    [[nodiscard]] std::vector<std::string> lines() const;

    /// The same, and forgets them.
    std::vector<std::string> takeLines();

    /// Waits, at most ten seconds, until this is the last of the lines that begin so; false when it is not.
    [[nodiscard]] bool waitForLast(std::string_view beginning, std::string_view line) const;
};

} // namespace kova::tests
