#include "Host/Doctor/Report.h"

#include "Platform/Foundation/Description.h"

#include <cstdio>

namespace kova::host {

namespace {

// Findings quote what stands in files and replies: that must not break the line.
void say(const std::string& beginning, const std::string& text)
{
    const auto line = beginning + singleLine(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

} // namespace

void Report::section(const std::string& title)
{
    say("\n", title);
}

void Report::fine(const std::string& finding)
{
    say("  ok     ", finding);
}

void Report::note(const std::string& finding)
{
    say("  note   ", finding);
}

void Report::wrong(const std::string& finding, const std::string& remedy)
{
    ++m_wrongs;
    say("  WRONG  ", finding);
    say("         -> ", remedy);
}

void Report::summary() const
{
    say("\n",
        m_wrongs == 0       ? "Everything is fine."
            : m_wrongs == 1 ? "One thing is wrong."
                            : std::to_string(m_wrongs) + " things are wrong.");
}

} // namespace kova::host
