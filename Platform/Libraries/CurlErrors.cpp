#include "Platform/Libraries/CurlErrors.h"

#include <curl/curl.h>

#include <cerrno>

namespace kova {

namespace {

/// Whether a number of the system tells of a connection that failed. curl keeps the last one it saw, and on a healthy
/// connection that is what connecting and reading say when there is more to wait for.
bool isSocketFailure(long number)
{
    return number != 0 && number != EINPROGRESS && number != EAGAIN;
}

/// CURLE_TOO_LARGE, which curl has since 8.6.
constexpr int tooLarge = 100;

} // namespace

URLError urlError(const CurlFailure& failure)
{
    switch (failure.code) {
    case CURLE_UNSUPPORTED_PROTOCOL:
        // Also curl's word for a reply that does not begin like HTTP.
        return failure.wasSent ? URLError::badServerResponse : URLError::unsupportedURL;
    case CURLE_URL_MALFORMAT:
        return URLError::unsupportedURL;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return URLError::cannotFindHost;
    case CURLE_COULDNT_CONNECT:
    case CURLE_INTERFACE_FAILED:
        // Once the request has gone out, it was a second connection that was refused, by the guard against sending
        // twice.
        return failure.wasSent ? URLError::networkConnectionLost : URLError::cannotConnectToHost;
    case CURLE_OPERATION_TIMEDOUT:
        return URLError::timedOut;
    case CURLE_TOO_MANY_REDIRECTS:
        return URLError::httpTooManyRedirects;
    case CURLE_WEIRD_SERVER_REPLY:
        return URLError::badServerResponse;
    case CURLE_FILESIZE_EXCEEDED:
        return URLError::dataLengthExceedsMaximum;
    case CURLE_BAD_CONTENT_ENCODING:
        return URLError::cannotDecodeContentData;
    case CURLE_OUT_OF_MEMORY:
        // A header line longer than curl's own limit ends so.
        return failure.isInHead ? URLError::badServerResponse : URLError::unknown;
    case tooLarge:
        // A header line, or the number of them in all heads of the reply, is beyond curl's own limits.
        return failure.wasSent ? URLError::badServerResponse : URLError::unknown;
    case CURLE_RECV_ERROR:
        // When no socket failed, it is the form of the reply that curl could not read: its chunks, or the size of its
        // head. Over TLS nothing tells that from a connection that was cut.
        return failure.isSecure || isSocketFailure(failure.systemError) ? URLError::networkConnectionLost
                                                                        : URLError::badServerResponse;
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_SEND_ERROR:
    case CURLE_HTTP2:
    case CURLE_HTTP2_STREAM:
    case CURLE_UNRECOVERABLE_POLL:
    // The guards against sending twice.
    case CURLE_ABORTED_BY_CALLBACK:
        return URLError::networkConnectionLost;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ENGINE_NOTFOUND:
    case CURLE_SSL_ENGINE_SETFAILED:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CRL_BADFILE:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_SHUTDOWN_FAILED:
    case CURLE_SSL_PINNEDPUBKEYNOTMATCH:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_SSL_CLIENTCERT:
    case CURLE_USE_SSL_FAILED:
        return URLError::secureConnectionFailed;
    default:
        return URLError::unknown;
    }
}

} // namespace kova
