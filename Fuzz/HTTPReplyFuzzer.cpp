#include "Fuzz/Fuzzing.h"
#include "Fuzz/Support/ByteReader.h"
#include "Fuzz/Support/LoopbackOnly.h"
#include "Fuzz/Support/ReplyServer.h"
#include "Platform/Libraries/URLSessionCurl.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace {

using namespace kova;

/// Whether a redirect may be followed: it leads to nobody but ourselves.
bool mayFollow = false;

// What comes of one task. Shared with its completion.
struct Exchange {
    std::mutex mutex;
    std::condition_variable changed;
    int completions = 0;
    std::optional<Data> body;
    std::optional<HTTPURLResponse> response;
    std::error_code error;

    void wait()
    {
        constexpr auto bound = std::chrono::seconds {5};
        std::unique_lock lock {mutex};
        require(changed.wait_for(lock, bound, [this] { return completions > 0; }));
    }

    // Either a reply or an error of the session's own, and only one.
    void requireSound()
    {
        const std::lock_guard lock {mutex};
        require(completions == 1 && response.has_value() == !error && body.has_value() == !error);
        if (!response) {
            require(error.category() == urlErrorCategory() && error != URLError::cancelled);
            return;
        }
        require(response->statusCode > 0 && URL::create(response->url.absoluteString()));
        (void)response->mimeType();
    }
};

struct Client {
    fuzz::ReplyServer server;
    URLSessionCurl session;

    static Client& instance()
    {
        static Client client;
        return client;
    }

    std::shared_ptr<Exchange> fetch(const std::string& path, const char* method, std::optional<Data> body)
    {
        constexpr std::chrono::duration<double> timeout {2};
        const auto exchange = std::make_shared<Exchange>();
        session
            .dataTask({.url = *URL::create("http://127.0.0.1:" + std::to_string(server.port()) + path),
                          .timeoutInterval = timeout,
                          .httpMethod = method,
                          .httpBody = std::move(body)},
                [exchange](auto data, auto response, auto error) {
                    const std::lock_guard lock {exchange->mutex};
                    ++exchange->completions;
                    exchange->body = std::move(data);
                    exchange->response = std::move(response);
                    exchange->error = error;
                    exchange->changed.notify_all();
                })
            ->resume();
        exchange->wait();
        return exchange;
    }
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    mayFollow = fuzz::enterLoopbackOnly();
    if (!mayFollow)
        std::fputs("no network of its own can be made here, so no redirect is followed\n", stderr);
    return 0;
}

// A byte that says what is asked and how the reply arrives, and the whole reply, over a socket. The task completes once
// and in time, and the next exchange is not disturbed by what came.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    constexpr unsigned keeps = 4;
    constexpr unsigned isFollowed = 8;
    fuzz::ByteReader input {{reinterpret_cast<const char*>(bytes), size}};
    const unsigned how = input.byte();
    std::string reply {input.bytes(size)};
    const auto split = reply.size() * (how >> 4U) / 16;

    auto& client = Client::instance();
    client.server.answerWith({.bytes = std::move(reply), .split = split, .keepsConnection = (how & keeps) != 0});
    const bool isGet = (how & 3U) == 0 && mayFollow;
    const bool isHead = (how & 3U) == 1;
    const auto body = isGet || isHead ? std::nullopt : std::optional {Data {R"({"metric":"delivery"})"}};
    const auto exchange = client.fetch("/v2/x", isGet ? "GET" : isHead ? "HEAD" : "POST", body);
    client.server.finish();

    if ((how & isFollowed) != 0) {
        const auto next = client.fetch("/good", "GET", std::nullopt);
        next->requireSound();
        require(next->response && next->response->statusCode == 200 && next->body->text() == "good");
    }
    exchange->requireSound();
    return 0;
}
