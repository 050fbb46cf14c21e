#include "Fuzz/Fuzzing.h"
#include "Fuzz/Support/ScriptHost.h"
#include "Host/LineReader.h"

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace {

using namespace kova;

// The script as the host reads it: from a file, until its end.
std::vector<std::string> read(std::string_view script)
{
    static const int file = memfd_create("script", MFD_CLOEXEC);
    static const int interruption = [] {
        int ends[2] {-1, -1};
        require(pipe(ends) == 0);
        return ends[0];
    }();
    require(file >= 0 && ftruncate(file, 0) == 0 && lseek(file, 0, SEEK_SET) == 0);
    require(pwrite(file, script.data(), script.size(), 0) == static_cast<ssize_t>(script.size()));
    host::LineReader reader {file, interruption};
    std::vector<std::string> lines;
    while (auto line = reader.next())
        lines.push_back(*std::move(line));
    return lines;
}

std::vector<std::string> split(std::string_view script)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (script.starts_with(byteOrderMark))
        script.remove_prefix(byteOrderMark.size());
    std::vector<std::string> lines;
    while (!script.empty()) {
        const auto end = script.find('\n');
        lines.emplace_back(script.substr(0, end));
        script.remove_prefix(end == std::string_view::npos ? script.size() : end + 1);
    }
    return lines;
}

} // namespace

// A script is read line by line and run in the host until a line is wrong.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static fuzz::ScriptHost host;
    const std::string_view script {reinterpret_cast<const char*>(bytes), size};
    const auto lines = read(script);
    require(lines == split(script));
    host.reset();
    for (const auto& line : lines) {
        if (!line.starts_with('#') && line.find_first_not_of(" \t\r") != std::string::npos && !host.run(line))
            return 0;
    }
    return 0;
}
