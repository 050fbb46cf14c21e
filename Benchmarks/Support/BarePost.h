// The same POST again and again over curl, with nothing on top: how fast a session could be at best.
//
// BareMultiPost is arranged as the session is: a multi handle on a thread of its own, and a caller that waits for the
// reply. BareEasyPost does without a thread. Both keep their connection alive.

#pragma once

#include <atomic>
#include <semaphore>
#include <string>
#include <thread>

struct curl_slist;

namespace kova::benchmarks {

class BareEasyPost {
public:
    BareEasyPost(const std::string& url, std::string body);
    ~BareEasyPost();
    BareEasyPost(const BareEasyPost&) = delete;
    BareEasyPost& operator=(const BareEasyPost&) = delete;

    void post();
    void* handle() { return m_handle; }

private:
    const std::string m_body;
    void* m_handle;
    curl_slist* m_headers = nullptr;
};

class BareMultiPost {
public:
    BareMultiPost(const std::string& url, std::string body);
    ~BareMultiPost();
    BareMultiPost(const BareMultiPost&) = delete;
    BareMultiPost& operator=(const BareMultiPost&) = delete;

    void post();

private:
    void run();
    void exchange();

    BareEasyPost m_request;
    void* m_multi;
    std::atomic<bool> m_isWanted = false;
    std::atomic<bool> m_ends = false;
    std::binary_semaphore m_done {0};
    std::thread m_thread;
};

} // namespace kova::benchmarks
