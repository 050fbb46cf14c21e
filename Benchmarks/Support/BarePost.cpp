#include "Benchmarks/Support/BarePost.h"

#include "Benchmarks/Support/Require.h"

#include <curl/curl.h>

#include <utility>

namespace kova::benchmarks {

namespace {

void requireDelivered(void* handle)
{
    long status = 0;
    curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
    require(status == 200, "a bare POST was not answered with 200");
}

} // namespace

BareEasyPost::BareEasyPost(const std::string& url, std::string body)
    : m_body(std::move(body))
    , m_handle(curl_easy_init())
{
    for (const auto* line : {"Content-Type: application/json", "Cache-Control: no-cache", "Expect:"})
        m_headers = curl_slist_append(m_headers, line);
    curl_easy_setopt(m_handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(m_handle, CURLOPT_PROXY, "");
    curl_easy_setopt(m_handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(m_handle, CURLOPT_HTTPHEADER, m_headers);
    curl_easy_setopt(m_handle, CURLOPT_POSTFIELDS, m_body.data());
    curl_easy_setopt(m_handle, CURLOPT_POSTFIELDSIZE, static_cast<long>(m_body.size()));
}

BareEasyPost::~BareEasyPost()
{
    curl_easy_cleanup(m_handle);
    curl_slist_free_all(m_headers);
}

void BareEasyPost::post()
{
    require(curl_easy_perform(m_handle) == CURLE_OK, "a bare POST failed");
    requireDelivered(m_handle);
}

BareMultiPost::BareMultiPost(const std::string& url, std::string body)
    : m_request(url, std::move(body))
    , m_multi(curl_multi_init())
    , m_thread([this] { run(); })
{
}

BareMultiPost::~BareMultiPost()
{
    m_ends = true;
    curl_multi_wakeup(m_multi);
    m_thread.join();
    curl_multi_cleanup(m_multi);
}

void BareMultiPost::post()
{
    m_isWanted = true;
    curl_multi_wakeup(m_multi);
    m_done.acquire();
}

void BareMultiPost::run()
{
    constexpr int longestSleepMs = 1000;
    while (!m_ends) {
        curl_multi_poll(m_multi, nullptr, 0, longestSleepMs, nullptr);
        if (m_isWanted.exchange(false))
            exchange();
    }
}

void BareMultiPost::exchange()
{
    constexpr int longestSleepMs = 1000;
    curl_multi_add_handle(m_multi, m_request.handle());
    int running = 1;
    while (true) {
        curl_multi_perform(m_multi, &running);
        if (running == 0)
            break;
        curl_multi_poll(m_multi, nullptr, 0, longestSleepMs, nullptr);
    }
    int left = 0;
    const auto* message = curl_multi_info_read(m_multi, &left);
    require(message && message->data.result == CURLE_OK, "a bare POST failed");
    curl_multi_remove_handle(m_multi, m_request.handle());
    requireDelivered(m_request.handle());
    m_done.release();
}

} // namespace kova::benchmarks
