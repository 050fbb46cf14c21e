// One request and its reply on one curl easy handle.
//
// The loop gives it to curl and takes it back; in between curl calls it, on the loop's thread.

#pragma once

#include "Platform/Foundation/URLSession.h"
#include "Platform/Libraries/CurlRestingConnections.h"

#include <chrono>
#include <cstddef>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct curl_slist;

namespace kova {

class CurlExchange {
public:
    struct Reply {
        Data body;
        HTTPURLResponse response;
    };
    using Outcome = std::expected<Reply, URLError>;

    /// The certificates are a file of those that are trusted beside the system's, or empty. The connections are asked
    /// whether they may be used again.
    CurlExchange(const std::string& additionalCertificates, CurlRestingConnections& restingConnections);
    CurlExchange(const CurlExchange&) = delete;
    CurlExchange& operator=(const CurlExchange&) = delete;

    /// Sets the handle up for the request, which must stay where it is as long as this. An error means that the request
    /// cannot be sent; the handle must not be used then. curl's private pointer of the handle will be `owner`.
    [[nodiscard]] std::expected<void, URLError> prepare(
        const URLRequest& request, std::chrono::steady_clock::time_point deadline, void* owner);

    /// What became of it, from the code with which curl ended the transfer.
    [[nodiscard]] Outcome outcome(int code);

    [[nodiscard]] void* handle() const { return m_handle.get(); }

private:
    struct CloseHandle {
        void operator()(void* handle) const;
    };
    struct FreeList {
        void operator()(curl_slist* list) const;
    };

    void setCallbacks();
    void setMethodAndBody();
    [[nodiscard]] bool setHeaderFields();
    void addHeaderLine(const std::string& line);
    [[nodiscard]] bool receiveHeaderLine(std::string_view line);
    [[nodiscard]] bool receiveBody(std::string_view bytes);
    [[nodiscard]] bool endsWithHead();
    /// Whether curl has begun to send the request, or the one that a redirect has led to.
    [[nodiscard]] bool wasSent() const;
    [[nodiscard]] bool mayBeSent(CurlRestingConnections::Ends ends);
    [[nodiscard]] Outcome reply();
    [[nodiscard]] long redirects() const;

    CurlRestingConnections& m_restingConnections;
    std::unique_ptr<void, CloseHandle> m_handle;
    std::unique_ptr<curl_slist, FreeList> m_headerLines;
    const URLRequest* m_request = nullptr;

    /// How often curl was about to send, redirects included.
    long m_requestsSent = 0;

    /// Of the newest head; 0 if it has none.
    int m_status = 0;
    HTTPHeaderFields m_fields;
    HTTPHeaderFields::iterator m_lastField;
    std::string m_body;
    std::size_t m_headerBytes = 0;
    bool m_inHead = false;
    /// Why a callback made curl give up, or that it did so because everything is there.
    std::optional<URLError> m_failure;
    bool m_isComplete = false;
    bool m_isBodyCut = false;
};

} // namespace kova
