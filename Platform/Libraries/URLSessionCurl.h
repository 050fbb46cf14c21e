// The HTTP session over curl: one multi handle on a thread, connections kept alive and shared by all tasks, and a
// second thread for the completions.
//
// What the session adds to the library, because the contract of URLSession wants it: nothing is ever sent twice, a
// time-out counts from resume() and also while a task waits for a connection, sizes are bounded, and every failure is
// one of URLError. A server gets at most six connections for downloads and six for the rest; what finds none free waits
// in order. Of the environment it takes no proxy and no password file; SSLKEYLOGFILE, which has curl write the
// keys of TLS sessions to a file, cannot be kept from curl.
// A reply takes a bounded amount of memory: at most 1 MiB of header fields, interim replies and trailers (of which this
// curl by itself takes 300 KiB, and 100 KiB for one line), and the body that URLSession::dataTask() tells. A look-up
// that the system's resolver is still at when its task ends cannot be called off: it stays on a thread of curl's, which
// touches nothing of the session and ends with the resolver's own patience. Threads: any. The object may be destroyed
// on any thread, its own included.

#pragma once

#include "Platform/Foundation/URLSession.h"

#include <filesystem>
#include <memory>

namespace kova {

class CurlLoop;

class URLSessionCurl final : public URLSession {
public:
    struct Options {
        /// PEM certificates that are trusted beside the system's certificate folder. A file that cannot be read makes
        /// every exchange over TLS fail.
        std::filesystem::path additionalCertificates {};
    };

    URLSessionCurl();
    explicit URLSessionCurl(const Options& options);
    ~URLSessionCurl() override;
    URLSessionCurl(const URLSessionCurl&) = delete;
    URLSessionCurl& operator=(const URLSessionCurl&) = delete;

    /// A task that is dropped before it was resumed or cancelled never completes. What cannot be sent completes with
    /// `unsupportedURL`: a URL that is not absolute http or https, a method or a header name that is no HTTP token, a
    /// header value with a line break or NUL. The session frames the body itself, so the header fields Content-Length,
    /// Transfer-Encoding and Expect of the request are left out.
    [[nodiscard]] std::shared_ptr<URLSessionDataTask> dataTask(
        URLRequest request, DataTaskCompletion completion) override;

    /// Called from a completion, it runs all other completions before it returns, and the calling one goes on after
    /// that.
    void invalidateAndCancel() override;

    [[nodiscard]] bool isOnCompletionThread() const override;

private:
    /// Shared with the tasks and the thread, which may both outlive the session.
    std::shared_ptr<CurlLoop> m_loop;
};

} // namespace kova
