#include "Fuzz/Fuzzing.h"
#include "Platform/Foundation/PropertyList.h"

// What can be read from the XML form can be written in the binary one, and reads as the same again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace kova;
    const std::string_view text {reinterpret_cast<const char*>(bytes), size};
    if (text.starts_with("bplist"))
        return 0;
    const auto value = PropertyListDecoder::decode(text);
    if (!value)
        return 0;
    const auto written = PropertyListEncoder::encode(*value);
    require(written.has_value());
    const auto again = PropertyListDecoder::decode(written->text());
    require(again && isSameTree(*value, *again));
    return 0;
}
