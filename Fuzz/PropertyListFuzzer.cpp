#include "Fuzz/Fuzzing.h"
#include "Platform/Foundation/PropertyList.h"

// What can be read, from the binary or the XML form, can be written, and reads as the same again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace kova;
    const auto value = PropertyListDecoder::decode({reinterpret_cast<const char*>(bytes), size});
    if (!value)
        return 0;
    const auto written = PropertyListEncoder::encode(*value);
    // A list whose sharing is unfolded may exceed what its own size would allow.
    if (!written) {
        require(written.error() == PropertyListError::tooComplex);
        return 0;
    }
    const auto again = PropertyListDecoder::decode(written->text());
    require(again && isSameTree(*value, *again));
    return 0;
}
