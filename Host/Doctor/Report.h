// What the doctor says: sections of findings, one line each, in plain words; what is wrong comes with what to do.
//
// Written to standard output at once, so that who waits sees how far it is. Threads: one at a time.

#pragma once

#include <cstddef>
#include <string>

namespace kova::host {

class Report {
public:
    void section(const std::string& title);
    void fine(const std::string& finding);
    /// Worth knowing, and nothing that has to be mended.
    void note(const std::string& finding);
    void wrong(const std::string& finding, const std::string& remedy);
    void summary() const;

    [[nodiscard]] std::size_t wrongs() const { return m_wrongs; }

private:
    std::size_t m_wrongs = 0;
};

} // namespace kova::host
