#include "KovaSDK/Extensions/UIImageView.h"

#include "KovaSDK/Extensions/UIView.h"
#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/URLSession.h"

namespace kova {

namespace {

constexpr int ok = 200;

std::shared_ptr<const UIImage> picture(
    const std::optional<Data>& body, const std::optional<HTTPURLResponse>& response, std::error_code error)
{
    if (error || !body || !response || response->statusCode != ok || !response->mimeType().starts_with("image"))
        return nullptr;
    return UIImage::create(*body);
}

} // namespace

ImageCache& imageCache()
{
    static auto& cache = *new ImageCache;
    return cache;
}

void downloaded(const std::shared_ptr<UIImageView>& imageView, const std::string& from)
{
    const auto url = URL::create(from);
    if (!url)
        return;
    const auto task = URLSession::shared()->dataTask({.url = *url},
        [view = std::weak_ptr {imageView}, from](
            const std::optional<Data>& body, const std::optional<HTTPURLResponse>& response, std::error_code error) {
            DispatchQueue::main().async([view, from, image = picture(body, response, error)] {
                const auto shown = view.lock();
                if (shown)
                    unlock(*shown);
                if (!image)
                    return;
                imageCache().setObject(image, from);
                if (shown)
                    shown->setImage(image);
            });
        });
    task->resume();
}

} // namespace kova
