#include "Fuzz/Fuzzing.h"
#include "Platform/Foundation/BinaryPropertyList.h"

// What can be read from the binary form can be written, and reads as the same again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    using namespace kova;
    const auto value = BinaryPropertyList::decode({reinterpret_cast<const char*>(bytes), size});
    if (!value)
        return 0;
    const auto written = BinaryPropertyList::encode(*value);
    // A list whose sharing is unfolded may exceed what its own size would allow.
    if (!written) {
        require(written.error() == PropertyListError::tooComplex);
        return 0;
    }
    const auto again = BinaryPropertyList::decode(written->text());
    require(again && isSameTree(*value, *again));
    return 0;
}
