#include "Platform/Libraries/CurlExchange.h"

#include "Platform/Libraries/CurlErrors.h"

#include <curl/curl.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <new>
#include <tuple>
#include <utility>

namespace kova {

namespace {

constexpr std::size_t largestDownload = 32 * 1024 * 1024;
/// The body of any other reply is at most logged.
constexpr std::size_t largestReply = 1024 * 1024;
constexpr std::size_t largestHeaders = 1024 * 1024;
constexpr long mostRedirects = 5;
/// curl refuses longer ones, and then falls back to its own of five minutes.
constexpr std::int64_t longestConnectTimeoutMs = std::numeric_limits<int>::max() - 1;
/// Servers and the boxes between drop a silent connection after a minute or so, and not all of them say it.
constexpr long oldestIdleConnection = 55;
/// OpenSSL's own defaults at a level that refuses keys of less than 112 bits of strength (RSA of 1024) and SHA-1
/// signatures.
constexpr const char* cipherList = "DEFAULT@SECLEVEL=2";

/// Returns true if curl uses OpenSSL for TLS: other libraries have other cipher lists.
bool hasOpenSSL()
{
    // Asked once: curl puts its answer together anew each time, in memory that all callers share.
    static const bool isOpenSSL = [] {
        const auto* backend = curl_version_info(CURLVERSION_NOW)->ssl_version;
        return backend && std::string_view {backend}.starts_with("OpenSSL");
    }();
    return isOpenSSL;
}

bool isToken(std::string_view text)
{
    return !text.empty() && std::ranges::all_of(text, [](char byte) {
        return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9')
            || std::string_view {"!#$%&'*+-.^_`|~"}.contains(byte);
    });
}

bool isFieldValue(std::string_view text)
{
    return text.find_first_of(std::string_view {"\r\n\0", 3}) == std::string_view::npos;
}

/// The status of a reply that begins with this line ("HTTP/1.1 200 OK"), 0 if that is no number of an int. curl itself
/// reads three digits of it or as many as there are, and takes a line that it cannot read for a success, depending on
/// its version.
int statusOf(std::string_view line)
{
    line.remove_prefix(std::min(line.find(' '), line.size()));
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    int status = 0;
    std::from_chars(line.data(), line.data() + line.size(), status);
    return status;
}

std::string_view trimmed(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const auto begin = std::min(text.find_first_not_of(blanks), text.size());
    text.remove_prefix(begin);
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

bool isSameField(std::string_view left, std::string_view right)
{
    const HeaderFieldLess less;
    return !less(left, right) && !less(right, left);
}

/// Whether the values of all fields of that name are the same number. curl believes the last of several, and of each as
/// much as it can read; whoever believes another one sees the body end somewhere else.
bool isOneLength(std::string_view values)
{
    std::optional<std::uint64_t> length;
    while (true) {
        const auto comma = values.find(',');
        const auto value = trimmed(values.substr(0, comma));
        std::uint64_t number = 0;
        const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
        if (error != std::errc {} || end != value.data() + value.size() || length.value_or(number) != number)
            return false;
        length = number;
        if (comma == std::string_view::npos)
            return true;
        values.remove_prefix(comma + 1);
    }
}

} // namespace

void CurlExchange::CloseHandle::operator()(void* handle) const
{
    curl_easy_cleanup(handle);
}

void CurlExchange::FreeList::operator()(curl_slist* list) const
{
    curl_slist_free_all(list);
}

CurlExchange::CurlExchange(const std::string& additionalCertificates, CurlRestingConnections& restingConnections)
    : m_restingConnections(restingConnections)
    , m_handle(curl_easy_init())
{
    if (!m_handle)
        throw std::bad_alloc {};
    auto* const handle = m_handle.get();
    curl_easy_setopt(handle, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle, CURLOPT_MAXREDIRS, mostRedirects);
    curl_easy_setopt(handle, CURLOPT_PROXY, "");
    curl_easy_setopt(handle, CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
    curl_easy_setopt(handle, CURLOPT_MAXAGE_CONN, oldestIdleConnection);
    // Said here, since the configuration of the TLS library (OPENSSL_CONF) may ask for less.
    curl_easy_setopt(handle, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    if (hasOpenSSL())
        curl_easy_setopt(handle, CURLOPT_SSL_CIPHER_LIST, cipherList);
    if (!additionalCertificates.empty())
        curl_easy_setopt(handle, CURLOPT_CAINFO, additionalCertificates.c_str());
    m_restingConnections.watch(handle);
    setCallbacks();
}

std::expected<void, URLError> CurlExchange::prepare(
    const URLRequest& request, std::chrono::steady_clock::time_point deadline, void* owner)
{
    m_request = &request;
    if (!isToken(request.httpMethod) || !setHeaderFields())
        return std::unexpected {URLError::unsupportedURL};

    auto* const handle = m_handle.get();
    curl_easy_setopt(handle, CURLOPT_PRIVATE, owner);
    curl_easy_setopt(handle, CURLOPT_URL, request.url.absoluteString().c_str());
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, m_headerLines.get());
    // The loop watches the deadline; curl needs it only to share the time out among the addresses of a host.
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS,
        static_cast<long>(std::clamp<std::int64_t>(left.count(), 1, longestConnectTimeoutMs)));
    setMethodAndBody();
    return {};
}

void CurlExchange::setCallbacks()
{
    auto* const handle = m_handle.get();
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(
        handle, CURLOPT_HEADERFUNCTION,
        +[](char* bytes, std::size_t size, std::size_t count, void* self) noexcept -> std::size_t {
            return static_cast<CurlExchange*>(self)->receiveHeaderLine({bytes, size * count}) ? size * count : 0;
        });
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(
        handle, CURLOPT_WRITEFUNCTION,
        +[](char* bytes, std::size_t size, std::size_t count, void* self) noexcept -> std::size_t {
            return static_cast<CurlExchange*>(self)->receiveBody({bytes, size * count}) ? size * count : 0;
        });
    // curl would silently send a request again when a reused connection is lost before the reply. So once a request has
    // gone out no connection is made for it, and none that is there already is used.
    curl_easy_setopt(handle, CURLOPT_SOCKOPTDATA, this);
    curl_easy_setopt(
        handle, CURLOPT_SOCKOPTFUNCTION, +[](void* self, curl_socket_t, curlsocktype) noexcept {
            return static_cast<CurlExchange*>(self)->wasSent() ? CURL_SOCKOPT_ERROR : CURL_SOCKOPT_OK;
        });
    curl_easy_setopt(handle, CURLOPT_PREREQDATA, this);
    curl_easy_setopt(
        handle, CURLOPT_PREREQFUNCTION,
        +[](void* self, char* remoteIP, char* localIP, int remotePort, int localPort) noexcept {
            return static_cast<CurlExchange*>(self)->mayBeSent({localIP, localPort, remoteIP, remotePort})
                ? CURL_PREREQFUNC_OK
                : CURL_PREREQFUNC_ABORT;
        });
}

void CurlExchange::setMethodAndBody()
{
    auto* const handle = m_handle.get();
    const auto& method = m_request->httpMethod;
    const auto body = m_request->httpBody ? m_request->httpBody->text() : std::string_view {};
    const bool announcesBody = !body.empty() || method == "POST" || method == "PUT" || method == "PATCH";
    // Setting a body makes a POST of it, and either method undoes a HEAD.
    curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    // Borrowed, not copied; head and body leave in one system call, which a callback would not let them.
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, body.empty() ? "" : body.data());
    curl_easy_setopt(handle, announcesBody ? CURLOPT_POST : CURLOPT_HTTPGET, 1L);
    if (!announcesBody && method == "HEAD")
        curl_easy_setopt(handle, CURLOPT_NOBODY, 1L);
    const bool isCurlsOwn = method == (announcesBody ? "POST" : "GET") || (!announcesBody && method == "HEAD");
    curl_easy_setopt(handle, CURLOPT_CUSTOMREQUEST, isCurlsOwn ? nullptr : method.c_str());
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, m_request->isDownload() ? 1L : 0L);
}

bool CurlExchange::setHeaderFields()
{
    const auto& fields = m_request->allHTTPHeaderFields;
    for (const auto& [name, value] : fields) {
        if (!isToken(name) || !isFieldValue(value))
            return false;
        if (isSameField(name, "Content-Length") || isSameField(name, "Transfer-Encoding")
            || isSameField(name, "Expect"))
            continue;
        // curl takes "Name:" as the wish to leave a field out, and "Name;" as one that is empty.
        auto line = name;
        line.append(trimmed(value).empty() ? ";" : ": ").append(trimmed(value).empty() ? "" : value);
        addHeaderLine(line);
    }
    // Else curl waits a second for leave to send a large body.
    addHeaderLine("Expect:");
    // Else curl calls every body a form.
    if (!fields.contains("Content-Type"))
        addHeaderLine("Content-Type:");
    if (m_request->cachePolicy == CachePolicy::reloadIgnoringLocalAndRemoteCacheData
        && !fields.contains("Cache-Control"))
        addHeaderLine("Cache-Control: no-cache");
    return true;
}

void CurlExchange::addHeaderLine(const std::string& line)
{
    auto* const lines = curl_slist_append(m_headerLines.get(), line.c_str());
    if (!lines)
        throw std::bad_alloc {};
    (void)m_headerLines.release();
    m_headerLines.reset(lines);
}

bool CurlExchange::wasSent() const
{
    return m_requestsSent > redirects();
}

bool CurlExchange::mayBeSent(CurlRestingConnections::Ends ends)
{
    return m_restingConnections.take(m_handle.get(), std::move(ends)) && !wasSent() && ++m_requestsSent > 0;
}

bool CurlExchange::receiveHeaderLine(std::string_view line)
{
    m_headerBytes += line.size();
    if (m_headerBytes > largestHeaders) {
        m_failure = URLError::badServerResponse;
        return false;
    }
    if (!m_inHead) {
        // A redirect, or an interim reply, is followed by another head; anything else here comes after the body.
        // In any case of its letters, as curl takes it.
        if (curl_strequal(std::string {line.substr(0, 5)}.c_str(), "HTTP/") != 0) {
            m_inHead = true;
            m_status = statusOf(line);
            m_fields.clear();
            m_lastField = m_fields.end();
        }
        return true;
    }
    if (trimmed(line).empty()) {
        m_inHead = false;
        return !endsWithHead();
    }
    if (line.starts_with(' ') || line.starts_with('\t')) {
        if (m_lastField != m_fields.end())
            m_lastField->second.append(" ").append(trimmed(line));
        return true;
    }
    const auto colon = line.find(':');
    if (colon == std::string_view::npos)
        return true;
    bool isNew = false;
    const auto value = trimmed(line.substr(colon + 1));
    std::tie(m_lastField, isNew) = m_fields.try_emplace(std::string {trimmed(line.substr(0, colon))}, value);
    if (!isNew)
        m_lastField->second.append(", ").append(value);
    return true;
}

bool CurlExchange::endsWithHead()
{
    const auto lengths = m_fields.find("Content-Length");
    if (lengths != m_fields.end() && !isOneLength(lengths->second)) {
        m_failure = URLError::badServerResponse;
        return true;
    }
    // curl takes HEAD with a body for a method that it does not know, and would wait for the body of the reply.
    m_isComplete
        = m_request->httpBody && !m_request->httpBody->empty() && m_request->httpMethod == "HEAD" && m_status >= 200;
    return m_isComplete;
}

bool CurlExchange::receiveBody(std::string_view bytes)
{
    const bool isDownload = m_request->isDownload();
    const auto largest = isDownload ? largestDownload : largestReply;
    curl_off_t announced = 0;
    if (m_body.empty())
        curl_easy_getinfo(m_handle.get(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
    const auto isLonger = bytes.size() > largest - m_body.size();
    if (isDownload && (isLonger || std::cmp_greater(announced, largest))) {
        m_failure = URLError::dataLengthExceedsMaximum;
        return false;
    }
    if (announced > 0)
        m_body.reserve(
            static_cast<std::size_t>(std::min<std::uint64_t>(static_cast<std::uint64_t>(announced), largest)));
    m_body.append(bytes.substr(0, largest - m_body.size()));
    // A request that was answered has been delivered, however long the answer is.
    m_isBodyCut = m_isComplete = isLonger;
    return !isLonger;
}

CurlExchange::Outcome CurlExchange::outcome(int code)
{
    if (m_failure)
        return std::unexpected {*m_failure};
    // To curl a head that breaks off is one that ends.
    if (code == CURLE_OK && m_inHead)
        return std::unexpected {URLError::networkConnectionLost};
    if (code == CURLE_OK || m_isComplete)
        return reply();
    const char* scheme = nullptr;
    curl_easy_getinfo(m_handle.get(), CURLINFO_SCHEME, &scheme);
    long systemError = 0;
    curl_easy_getinfo(m_handle.get(), CURLINFO_OS_ERRNO, &systemError);
    return std::unexpected {urlError({
        .code = code,
        .wasSent = wasSent(),
        .isInHead = m_requestsSent != 0 && (m_inHead || m_headerBytes == 0),
        .isSecure = scheme && std::string_view {scheme} == "HTTPS",
        .systemError = systemError,
    })};
}

CurlExchange::Outcome CurlExchange::reply()
{
    auto url = m_request->url;
    if (redirects() != 0) {
        const char* effective = nullptr;
        curl_easy_getinfo(m_handle.get(), CURLINFO_EFFECTIVE_URL, &effective);
        auto redirected = URL::create(effective ? effective : "");
        if (!redirected)
            return std::unexpected {URLError::unsupportedURL};
        url = std::move(*redirected);
    }
    if (m_status <= 0)
        return std::unexpected {URLError::badServerResponse};
    return Reply {Data {std::move(m_body)}, {std::move(url), m_status, std::move(m_fields), m_isBodyCut}};
}

long CurlExchange::redirects() const
{
    long count = 0;
    curl_easy_getinfo(m_handle.get(), CURLINFO_REDIRECT_COUNT, &count);
    return count;
}

} // namespace kova
