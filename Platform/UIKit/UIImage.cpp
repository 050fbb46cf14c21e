#include "Platform/UIKit/UIImage.h"

#include <mutex>
#include <utility>

namespace kova {

namespace {

struct Installed {
    std::mutex mutex;
    UIImage::Decoder decoder;

    static Installed& instance()
    {
        // Never destroyed: a thread may still decode while main's statics go away.
        static auto& installed = *new Installed;
        return installed;
    }
};

} // namespace

UIImage::Decoded UIImage::decode(const Data& data)
{
    Decoder decoder;
    {
        const std::lock_guard lock {Installed::instance().mutex};
        decoder = Installed::instance().decoder;
    }
    return decoder ? decoder(data) : nullptr;
}

std::shared_ptr<const UIImage> UIImage::create(const Data& data)
{
    return decode(data).value_or(nullptr);
}

UIImage::Decoder UIImage::setDecoder(Decoder decoder)
{
    const std::lock_guard lock {Installed::instance().mutex};
    return std::exchange(Installed::instance().decoder, std::move(decoder));
}

} // namespace kova
