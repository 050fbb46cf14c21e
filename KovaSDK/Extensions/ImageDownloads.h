// The pictures on their way into image views: fetched a few at a time, the others wait in order; decoded one after
// another, on a queue of a low priority.
//
// So many addresses in an inbox take neither threads nor descriptors from the rest of the host, and no picture holds up
// the HTTP session. Every picture counts as under way until it is shown. When the platform ends, all are cancelled.
// Threads: any.

#pragma once

#include "Platform/Foundation/Activity.h"
#include "Platform/Foundation/URL.h"
#include "Platform/UIKit/UIImage.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace kova {

class DispatchQueue;

class ImageDownloads {
public:
    /// Takes the picture, or null, on the main queue.
    using Completion = std::move_only_function<void(std::shared_ptr<const UIImage>)>;

    [[nodiscard]] static ImageDownloads& shared();

    /// Fetches and decodes a picture.
    void add(URL url, Completion completion);

private:
    struct Download {
        URL url;
        Completion completion;
        /// It is under way while it waits.
        Activity activity {};
    };
    /// A download that has begun. Its end lets the next one begin.
    class Running;

    void startWaiting();
    void start(Download download);

    std::mutex m_mutex;
    /// Guarded by m_mutex, as is everything that follows.
    std::deque<Download> m_waiting;
    std::size_t m_running = 0;
    bool m_isStarting = false;
    /// Lives, and with it its thread, while downloads run.
    std::weak_ptr<DispatchQueue> m_decoding;
};

} // namespace kova
