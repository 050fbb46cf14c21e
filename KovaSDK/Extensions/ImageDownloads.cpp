#include "KovaSDK/Extensions/ImageDownloads.h"

#include "Platform/Foundation/DispatchQueue.h"
#include "Platform/Foundation/Print.h"
#include "Platform/Foundation/URLSession.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace kova {

namespace {

constexpr std::size_t mostAtOnce = 16;
constexpr int ok = 200;

/// An address may carry a password, or a token in its query.
std::string withoutSecrets(const URL& url)
{
    const std::string_view whole = url.absoluteString();
    const auto address = whole.substr(0, whole.find_first_of("?#"));
    const auto scheme = address.find("://");
    if (scheme == std::string_view::npos)
        return std::string {address};
    const auto authority = scheme + 3;
    const auto path = std::min(address.find('/', authority), address.size());
    const auto at = address.substr(0, path).rfind('@');
    const auto host = at == std::string_view::npos || at < authority ? authority : at + 1;
    return std::string {address.substr(0, authority)}.append(address.substr(host));
}

bool isPicture(const std::optional<Data>& body, const std::optional<HTTPURLResponse>& response, std::error_code error)
{
    return !error && body && response && response->statusCode == ok && response->mimeType().starts_with("image");
}

} // namespace

class ImageDownloads::Running {
public:
    Running(ImageDownloads& downloads, Download download, std::shared_ptr<DispatchQueue> decoding)
        : m_downloads(downloads)
        , m_download(std::move(download))
        , m_decoding(std::move(decoding))
    {
    }
    ~Running()
    {
        {
            const std::lock_guard lock {m_downloads.m_mutex};
            --m_downloads.m_running;
        }
        m_downloads.startWaiting();
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    [[nodiscard]] DispatchQueue& decoding() const { return *m_decoding; }

    void decode(const Data& body)
    {
        auto decoded = UIImage::decode(body);
        if (!decoded)
            refuse(decoded.error());
        finish(decoded.value_or(nullptr));
    }

    void refuse(const std::string& reason) const
    {
        complain("KovaSDK: the picture at " + withoutSecrets(m_download.url) + " is not shown: " + reason);
    }

    void finish(std::shared_ptr<const UIImage> image)
    {
        DispatchQueue::main().async([completion = std::move(m_download.completion),
                                        image = std::move(image)]() mutable { completion(std::move(image)); });
    }

private:
    ImageDownloads& m_downloads;
    Download m_download;
    std::shared_ptr<DispatchQueue> m_decoding;
};

ImageDownloads& ImageDownloads::shared()
{
    // Never destroyed: a thread may still end a download while main's statics go away.
    static auto& downloads = *new ImageDownloads;
    return downloads;
}

void ImageDownloads::add(URL url, Completion completion)
{
    {
        const std::lock_guard lock {m_mutex};
        m_waiting.push_back({.url = std::move(url), .completion = std::move(completion)});
    }
    startWaiting();
}

void ImageDownloads::startWaiting()
{
    std::unique_lock lock {m_mutex};
    // A session that has ended completes each within start(), which comes back here: one caller starts them all, in
    // order, and none inside another.
    if (std::exchange(m_isStarting, true))
        return;
    while (m_running < mostAtOnce && !m_waiting.empty()) {
        auto next = std::move(m_waiting.front());
        m_waiting.pop_front();
        ++m_running;
        lock.unlock();
        start(std::move(next));
        lock.lock();
    }
    m_isStarting = false;
}

void ImageDownloads::start(Download download)
{
    std::shared_ptr<DispatchQueue> decoding;
    {
        const std::lock_guard lock {m_mutex};
        decoding = m_decoding.lock();
        if (!decoding)
            m_decoding = decoding = DispatchQueue::create("pictures", QualityOfService::Background);
    }
    URLRequest request {.url = download.url};
    auto running = std::make_shared<Running>(*this, std::move(download), std::move(decoding));
    const auto task = URLSession::shared()->dataTask(std::move(request),
        [running = std::move(running)](
            std::optional<Data> body, const std::optional<HTTPURLResponse>& response, std::error_code error) mutable {
            if (error == URLError::dataLengthExceedsMaximum)
                running->refuse(error.message());
            if (!isPicture(body, response, error))
                return running->finish(nullptr);
            auto& queue = running->decoding();
            queue.async([running = std::move(running), body = *std::move(body)] { running->decode(body); });
        });
    task->resume();
}

} // namespace kova
