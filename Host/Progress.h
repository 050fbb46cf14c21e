// Says on standard error that something is still under way: after the first second of its life, and after each more.
//
// Only to somebody who looks on, at a terminal: a program that reads standard error finds the answers there.

#pragma once

#include <string>
#include <thread>

namespace kova::host {

class Progress {
public:
    explicit Progress(std::string what);

private:
    /// Ends with the object.
    std::jthread m_thread;
};

} // namespace kova::host
