// Sends one event body to the events web service, and waits for the outcome.
//
// Threads: any but the HTTP session's own. A service is made for each publication and dropped afterwards.

#pragma once

#include "KovaSDK/Services/Networking/NetworkManager.h"
#include "Platform/Foundation/Data.h"

#include <expected>
#include <functional>
#include <string>
#include <system_error>

namespace kova {

/// Whether the body was delivered (only status 200 counts), or why the exchange failed.
using PublicationOutcome = std::expected<bool, std::error_code>;

class EventService : public NetworkManager {
public:
    using Completion = std::move_only_function<void(PublicationOutcome)>;

    EventService();

    /// Posts the body and blocks until `completion` has run, exactly once, on the session's thread: at most the
    /// request's ten seconds. Called on that thread it stops the process, since it would wait for itself.
    void publish(const Data& event, Completion completion) const;

    std::shared_ptr<URLSession> session;
    /// Never read.
    std::string url;
};

/// The outcome as the log shows it: success(true), or failure(URLError -1004: …).
[[nodiscard]] std::string description(const PublicationOutcome& outcome);

} // namespace kova
