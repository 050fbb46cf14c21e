// The HTTP client that every web service of the SDK shares.
//
// A platform derives from these classes; the Linux one stands on curl. Threads: every operation may be called from any
// thread. Completions run on a thread of the session's, one after another, and each runs exactly once: with the reply,
// with an error, or with `cancelled` when the task or the session is cancelled. A completion must not wait for another
// one. One that takes long holds up other completions, but no request and no reply.

#pragma once

#include "Platform/Foundation/Data.h"
#include "Platform/Foundation/Export.h"
#include "Platform/Foundation/URLRequest.h"

#include <functional>
#include <memory>
#include <optional>
#include <system_error>

namespace kova {

/// Why an exchange failed; the numbers are the platform's. Converts to std::error_code.
enum class URLError {
    unknown = -1,
    cancelled = -999,
    timedOut = -1001,
    unsupportedURL = -1002,
    cannotFindHost = -1003,
    cannotConnectToHost = -1004,
    networkConnectionLost = -1005,
    httpTooManyRedirects = -1007,
    badServerResponse = -1011,
    cannotDecodeContentData = -1016,
    dataLengthExceedsMaximum = -1103,
    secureConnectionFailed = -1200,
};

KOVA_EXPORT [[nodiscard]] const std::error_category& urlErrorCategory();
KOVA_EXPORT [[nodiscard]] std::error_code make_error_code(URLError error);

/// Takes the body and the head of the reply, or the error. Without an error the body is present, empty when the reply
/// has none.
using DataTaskCompletion
    = std::move_only_function<void(std::optional<Data>, std::optional<HTTPURLResponse>, std::error_code)>;

class KOVA_EXPORT URLSessionDataTask {
public:
    virtual ~URLSessionDataTask() = default;

    /// Starts the exchange; a second call does nothing. The session keeps a started task until it has completed. After
    /// the session was invalidated the completion runs here, before the call returns, with `cancelled`.
    virtual void resume() = 0;

    /// Ends the exchange if it has not completed; the completion then gets `cancelled`.
    virtual void cancel() = 0;
};

class KOVA_EXPORT URLSession {
public:
    virtual ~URLSession() = default;

    /// The process-wide session. Without a platform the process stops, saying so.
    [[nodiscard]] static std::shared_ptr<URLSession> shared();

    /// Replaces the process-wide session (none is allowed) and returns the one before.
    static std::shared_ptr<URLSession> setShared(std::shared_ptr<URLSession> session);

    /// A task that has not started yet. One task is at most one request on the wire: what has a body or is not a GET is
    /// neither repeated nor redirected; a GET follows at most five redirects, to http and https only. No other request
    /// waits behind downloads. A download's body of more than 32 MiB is an error. Of any other reply 1 MiB of body is
    /// read; what was sent has been delivered, so that a longer body is cut and no error.
    [[nodiscard]] virtual std::shared_ptr<URLSessionDataTask> dataTask(
        URLRequest request, DataTaskCompletion completion)
        = 0;

    /// Cancels every task and ends the session: all completions have run when this returns. A second call does nothing.
    virtual void invalidateAndCancel() = 0;

    /// Whether the caller is on the thread that runs completions: waiting there for a task would wait for ever.
    [[nodiscard]] virtual bool isOnCompletionThread() const = 0;
};

} // namespace kova

template <> struct std::is_error_code_enum<kova::URLError> : std::true_type { };
