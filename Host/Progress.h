// Says on standard error that something is still under way: after the first second of its life, and after each more.

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
