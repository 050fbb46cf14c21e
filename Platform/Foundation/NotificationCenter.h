// Announcements within the process: somebody posts a name, every observer of it is called.
//
// Posting is synchronous: observers run on the posting thread, in the order of their registration, before post()
// returns. Threads: any. No lock is held while an observer runs, so it may add, remove and post.

#pragma once

#include "Platform/Foundation/AnyHashable.h"
#include "Platform/Foundation/Export.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kova {

struct Notification {
    std::string name;
    /// Who posts, for observers that listen to one sender; null when nobody in particular.
    const void* object = nullptr;
    std::optional<AnyDictionary> userInfo {};
};

class KOVA_EXPORT NotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;

    /// The process-wide centre.
    [[nodiscard]] static NotificationCenter& default_();

    /// Registers an object: it is held weakly, kept alive while its handler runs, and called until it is removed or has
    /// gone. Only notifications with this name, and from `object` unless that is null, are delivered; without a name
    /// all are. What is registered twice is called twice.
    void addObserver(const std::shared_ptr<void>& observer, Handler handler, std::optional<std::string> name,
        const void* object = nullptr);

    /// Registers a class-level observer: it has no owner and stays until the platform ends.
    void addObserver(Handler handler, std::optional<std::string> name, const void* object = nullptr);

    /// Removes the registrations of an object: all, or those with this name and this sender. None of them is called any
    /// more, also not by a post that is under way.
    void removeObserver(
        const void* observer, const std::optional<std::string>& name = std::nullopt, const void* object = nullptr);

    void post(const Notification& notification);

    /// Removes every registration, class-level ones too: for a platform that ends.
    void removeAllObservers();

private:
    struct Registration;

    using Registrations = std::vector<std::shared_ptr<Registration>>;

    [[nodiscard]] Registrations takeOrphans();

    std::mutex m_mutex;
    Registrations m_registrations;
};

} // namespace kova
