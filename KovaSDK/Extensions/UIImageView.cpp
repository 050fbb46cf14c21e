#include "KovaSDK/Extensions/UIImageView.h"

#include "KovaSDK/Extensions/ImageDownloads.h"
#include "KovaSDK/Extensions/UIView.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/FreedMemory.h"

#include <chrono>
#include <cstddef>
#include <mutex>
#include <utility>

namespace kova {

namespace {

constexpr std::size_t cacheLimit = 64UL * 1024 * 1024;
/// While nobody shows pictures.
constexpr std::size_t idleCacheLimit = cacheLimit / 8;
/// An entry's share of the cache beside its pixels and its address, in bytes.
constexpr std::size_t entryCost = 256;

struct CacheUsers {
    std::mutex mutex;
    std::size_t count = 0;

    void change(int difference)
    {
        const std::lock_guard lock {mutex};
        count += static_cast<std::size_t>(difference);
        imageCache().setTotalCostLimit(count == 0 ? idleCacheLimit : cacheLimit);
    }

    static CacheUsers& instance()
    {
        static auto& users = *new CacheUsers;
        return users;
    }
};

} // namespace

ImageCache& imageCache()
{
    static auto& cache = [] -> ImageCache& {
        auto& made = *new ImageCache;
        made.setTotalCostLimit(cacheLimit);
        return made;
    }();
    return cache;
}

ImageCacheUse::ImageCacheUse()
{
    CacheUsers::instance().change(1);
}

ImageCacheUse::~ImageCacheUse()
{
    CacheUsers::instance().change(-1);
    // The views that show pictures go with their screen, and what draws them with the frames after that.
    constexpr std::chrono::milliseconds untilAllIsFreed {500};
    DispatchQueue::create("pictures", QualityOfService::Background)->asyncAfter(untilAllIsFreed, &returnFreedMemory);
}

void downloaded(const std::shared_ptr<UIImageView>& imageView, const std::string& from)
{
    auto url = URL::create(from);
    if (!url)
        return;
    ImageDownloads::shared().add(
        *std::move(url), [view = std::weak_ptr {imageView}, from](const std::shared_ptr<const UIImage>& image) {
            const auto shown = view.lock();
            if (shown)
                unlock(*shown);
            if (!image)
                return;
            imageCache().setObject(image, from, image->byteCount() + from.size() + entryCost);
            if (shown)
                shown->setImage(image);
        });
}

} // namespace kova
