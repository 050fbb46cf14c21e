#include "Fuzz/Fuzzing.h"
#include "Platform/Foundation/URL.h"
#include "Platform/Libraries/CurlHostQueue.h"

#include <string_view>

// A line of URL and the rest as a path component: a URL keeps its text, appending yields a URL again, and that leads to
// the same server.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace kova;
    const std::string_view input {reinterpret_cast<const char*>(bytes), size};
    const auto line = input.substr(0, input.find('\n'));
    const auto component = line.size() < input.size() ? input.substr(line.size() + 1) : std::string_view {};
    const auto url = URL::create(line);
    if (!url)
        return 0;
    require(url->absoluteString() == line);
    const auto appended = url->appendingPathComponent(component);
    const auto again = URL::create(appended.absoluteString());
    require(again && *again == appended);
    require(CurlHostQueue::host(line) == CurlHostQueue::host(appended.absoluteString()));
    return 0;
}
