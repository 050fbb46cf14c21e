#include "Fuzz/Fuzzing.h"
#include "Platform/Foundation/JSONSerialization.h"

// What can be read can be written, and reads as the same again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace kova;
    const auto value = JSONSerialization::jsonObject({reinterpret_cast<const char*>(bytes), size});
    if (!value)
        return 0;
    const auto written = JSONSerialization::data(*value);
    require(written.has_value());
    const auto again = JSONSerialization::jsonObject(written->text());
    require(again && isSameTree(*value, *again));
    const auto writtenAgain = JSONSerialization::data(*again);
    require(writtenAgain && *writtenAgain == *written);
    return 0;
}
