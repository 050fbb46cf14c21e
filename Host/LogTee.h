// Hands each line of the log on to somebody as well, while it still goes to standard output.

#pragma once

#include <functional>
#include <string>
#include <vector>

namespace kova::host {

/// One at a time. Made and destroyed on the main queue.
class LogTee {
public:
    /// `receive` runs on the main queue with the lines that came since, without their newlines.
    explicit LogTee(std::function<void(const std::vector<std::string>&)> receive);
    ~LogTee();
    LogTee(const LogTee&) = delete;
    LogTee& operator=(const LogTee&) = delete;
};

} // namespace kova::host
