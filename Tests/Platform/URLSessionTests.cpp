// What goes over the wire, and what a reply becomes.

#include "Platform/Libraries/CurlHostQueue.h"
#include "Platform/Libraries/URLSessionCurl.h"
#include "Tests/Support/HTTPCall.h"
#include "Tests/Support/LoopbackServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <vector>

using namespace std::string_literals;

namespace kova::tests {
namespace {

constexpr std::size_t mebibyte = 1024 * 1024;

class URLSessionTest : public testing::Test {
protected:
    LoopbackServer server;
    URLSessionCurl session;
};

std::string repeated(std::string_view text, int count)
{
    std::string result;
    for (int round = 0; round < count; ++round)
        result += text;
    return result;
}

TEST_F(URLSessionTest, SendsTheRequestAsGiven)
{
    using Text = std::optional<std::string>;
    std::vector<std::tuple<std::string, Text, Text>> rows {
        {"GET", {}, {}},
        {"GET", "", {}},
        {"GET", "a body", "6"},
        {"POST", {}, "0"},
        {"POST", "{\"a\":\"\0\"}"s, "9"},
        {"POST", std::string(2 * mebibyte, 'x'), "2097152"},
        {"PATCH", "a body", "6"},
        {"DELETE", {}, {}},
        {"HEAD", {}, {}},
        {"HEAD", "a body", "6"},
        {"get", "a body", "6"},
    };
    // What was sent before must not show: so in both orders.
    const auto forwards = rows;
    rows.insert(rows.end(), forwards.rbegin(), forwards.rend());
    for (const auto& [method, body, contentLength] : rows) {
        LoopbackServer fresh;
        // To HEAD a length is announced that does not come.
        if (method == "HEAD")
            fresh.setDefault(Reply::raw("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n", Reply::Then::keepConnection));
        const auto name = method + " " + body.value_or("-").substr(0, 10);
        EXPECT_EQ(fetch(session, makeRequest(fresh.url("/a/../b?c=%41"), method, body)).summary(), "200 ") << name;
        ASSERT_EQ(fresh.requests().size(), 1U) << name;
        const auto request = fresh.requests().front();
        EXPECT_EQ(request.method, method);
        EXPECT_EQ(request.target, "/a/../b?c=%41") << name;
        EXPECT_TRUE(request.body == body.value_or("")) << name;
        EXPECT_EQ(request.header("Content-Length"), contentLength) << name;
        for (const auto* field : {"Content-Type", "Expect", "Accept-Encoding", "Transfer-Encoding", "Cache-Control"})
            EXPECT_EQ(request.header(field), std::nullopt) << name << " " << field;
    }
}

TEST_F(URLSessionTest, SendsHeaderFieldsAsGivenAndFramesTheBodyItself)
{
    auto request = makeRequest(server.url(), "POST", "body",
        {{"Content-Type", "application/json"}, {"X-Empty", ""}, {"X-Text", "a; b, \xc3\xa4"}, {"content-length", "999"},
            {"Transfer-Encoding", "chunked"}, {"Expect", "100-continue"}});
    request.cachePolicy = CachePolicy::reloadIgnoringLocalAndRemoteCacheData;
    EXPECT_EQ(fetch(session, request).summary(), "200 ");
    request.allHTTPHeaderFields["cache-control"] = "max-age=1";
    EXPECT_EQ(fetch(session, request).summary(), "200 ");

    const auto sent = server.requests();
    ASSERT_EQ(sent.size(), 2U);
    const std::pair<std::string, std::optional<std::string>> expected[] = {
        {"Content-Type", "application/json"},
        {"X-Empty", ""},
        {"X-Text", "a; b, \xc3\xa4"},
        {"Content-Length", "4"},
        {"Transfer-Encoding", {}},
        {"Expect", {}},
        {"Cache-Control", "no-cache"},
    };
    for (const auto& [field, value] : expected)
        EXPECT_EQ(sent[0].header(field), value) << field;
    EXPECT_EQ(sent[0].body, "body");
    EXPECT_EQ(sent[1].header("Cache-Control"), "max-age=1");
}

TEST_F(URLSessionTest, RefusesWhatCannotBeSent)
{
    const auto address = server.url().absoluteString().substr(7);
    const auto request = [](std::string url, std::string method = "GET", HTTPHeaderFields fields = {}) {
        return makeRequest(URL::create(url).value(), std::move(method), {}, std::move(fields));
    };
    const URLRequest rows[] = {
        request("file:///etc/hostname"),
        request("ftp://" + address),
        request(address.substr(10)),
        request("//" + address),
        request("/path"),
        request("http:" + address.substr(address.find('/'))),
        request("http:///" + address),
        request("http://?" + address),
        request("http://" + address, ""),
        request("http://" + address, "GET / HTTP/1.1\r\nX: y"),
        request("http://" + address, "GET", {{"X", "a\r\nInjected: b"}}),
        request("http://" + address, "GET", {{"X", "a\nb"}}),
        request("http://" + address, "GET", {{"X", "a\0b"s}}),
        request("http://" + address, "GET", {{"X: y\r\nZ", "a"}}),
        request("http://" + address, "GET", {{"", "a"}}),
    };
    for (const auto& row : rows)
        EXPECT_EQ(fetch(session, row).summary(), summary(URLError::unsupportedURL))
            << row.httpMethod << " " << row.url.absoluteString();
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(URLSessionTest, EveryReplyBecomesOneOutcome)
{
    struct Row {
        std::string bytes;
        std::string outcome;
        Reply::Then then = Reply::Then::close;
    };
    const auto lost = summary(URLError::networkConnectionLost);
    const auto bad = summary(URLError::badServerResponse);
    const auto ok = "HTTP/1.1 200 OK\r\n"s;
    const Row rows[] = {
        {ok + "Content-Length: 4\r\n\r\nbody", "200 body"},
        {ok + "\r\nuntil the end", "200 until the end"},
        {ok + "Transfer-Encoding: chunked\r\n\r\n2\r\nbo\r\n2;x=y\r\ndy\r\n0\r\nTrailer: t\r\n\r\n", "200 body"},
        {ok + "Content-Encoding: gzip\r\nContent-Length: 4\r\n\r\nbody", "200 body"},
        {"HTTP/1.0 404 Not Found\r\n\r\nnone", "404 none"},
        {"HTTP/1.1 103 Early\r\nX: y\r\n\r\n" + ok + "Content-Length: 0\r\n\r\n", "200 "},
        {"HTTP/1.1 401 No\r\nWWW-Authenticate: Basic\r\nContent-Length: 0\r\n\r\n", "401 "},
        {"HTTP/1.1 417 No\r\nContent-Length: 0\r\n\r\n", "417 "},
        {"", lost},
        {"", lost, Reply::Then::reset},
        {ok + "Content-Le", lost},
        {"http/1.1 200 OK\r\nContent-Le", lost},
        {ok + "Content-Length: 4\r\n\r\nbo", lost},
        {ok + "Content-Length: 4\r\n\r\nbo", lost, Reply::Then::reset},
        {ok + "Transfer-Encoding: chunked\r\n\r\n4\r\nbo", lost},
        {ok + "Transfer-Encoding: chunked\r\n\r\n2\r\nbo\r\n", lost},
        {ok + "Transfer-Encoding: chunked\r\n\r\nzz\r\nbo\r\n", bad},
        {ok + "Content-Length: 2\r\n\r\nbody", "200 bo"},
        {ok + "Content-Length: 4\r\nContent-Length: 4\r\n\r\nbody", "200 body"},
        {ok + "Content-Length: 2\r\nX: y\r\ncontent-length: 4\r\n\r\nbody", bad},
        {ok + "Content-Length: 2, 4\r\n\r\nbody", bad},
        {ok + "Content-Length: 4,\r\n\r\nbody", bad},
        {ok + "Content-Length: 4x\r\n\r\nbody", bad},
        {ok + "Content-Length: 4\r\n 4\r\n\r\nbody", bad},
        {ok + "Content-Length: 2\r\nContent-Length: 4\r\nTransfer-Encoding: chunked\r\n\r\nbody", bad},
        {ok + "Content-Length: -4\r\n\r\nbody", bad},
        {ok + "Content-Length: 18446744073709551620\r\n\r\nbody", bad},
        {"garbage\r\n\r\n", bad},
        {"HTTP/9.9 200 OK\r\n\r\n", bad},
        {"HTTP/2 18446744073709551615 OK\r\n\r\n", bad},
        {"220 mail.example ready\r\n", bad, Reply::Then::silence},
        {ok + "X: " + std::string(200'000, 'x') + "\r\nContent-Length: 0\r\n\r\n", bad},
        {ok + repeated("X-Field: " + std::string(1'000, 'x') + "\r\n", 1'024) + "Content-Length: 0\r\n\r\n", bad},
        {repeated("HTTP/1.1 103 Early\r\nX: y\r\n\r\n", 80'000), bad, Reply::Then::silence},
        {"HTTP/1.1 304 Not Modified\r\n\r\n", "304 "},
        {"HTTP/1.1 302 Found\r\nContent-Length: 0\r\n\r\n", "302 "},
    };
    for (const auto& [bytes, outcome, then] : rows) {
        LoopbackServer fresh;
        fresh.setDefault(Reply::raw(bytes, then));
        EXPECT_EQ(fetch(session, makeRequest(fresh.url())).summary(), outcome) << bytes.substr(0, 100);
        EXPECT_EQ(fresh.requests().size(), 1U) << bytes.substr(0, 100);
    }
}

TEST_F(URLSessionTest, HandsOverTheHeadOfTheFinalReply)
{
    server.enqueue(Reply::raw("HTTP/1.1 103 Early\r\nX-Interim: 1\r\n\r\n"
                              "HTTP/1.1 201 Created\r\nX-Twice: a\r\nx-twice:b  \r\nX-Folded: a\r\n  b\r\nX-Empty:\r\n"
                              "Transfer-Encoding: chunked\r\n\r\n0\r\nX-Trailer: 1\r\n\r\n",
        Reply::Then::keepConnection));
    const auto outcome = fetch(session, makeRequest(server.url("/v2/"), "POST", "x"));
    ASSERT_TRUE(outcome.response) << outcome.summary();
    EXPECT_TRUE(outcome.wasOnCompletionThread);
    EXPECT_EQ(outcome.response->statusCode, 201);
    EXPECT_EQ(outcome.response->url, server.url("/v2/"));
    EXPECT_THAT(outcome.response->allHeaderFields,
        testing::UnorderedElementsAre(testing::Pair("X-Twice", "a, b"), testing::Pair("X-Folded", "a b"),
            testing::Pair("X-Empty", ""), testing::Pair("Transfer-Encoding", "chunked")));
}

// A folded line continues the field before it. A head that begins with one has none, and a handle that remembered the
// last field of another reply wrote to memory that was no longer its own, which the address sanitizer shows.
TEST_F(URLSessionTest, JoinsNoReplyToTheOneBefore)
{
    for (int count = 0; count < 3; ++count) {
        server.enqueue(Reply::status(200, "first", {{"X-Last", "field"}}));
        server.enqueue(Reply::raw("HTTP/1.1 200 OK\r\n folded: line\r\nContent-Length: 6\r\n\r\nsecond"));
        EXPECT_EQ(fetch(session, makeRequest(server.url())).summary(), "200 first");
        // Whether such a head is taken or refused is the library's affair.
        const auto second = fetch(session, makeRequest(server.url()));
        EXPECT_FALSE(second.response && second.response->allHeaderFields.contains("X-Last"));
    }
}

TEST_F(URLSessionTest, FollowsGetOverFiveRedirectsOnly)
{
    const auto redirect = [](std::string to) {
        return Reply::status(302, "ignored", {{"Location", std::move(to)}, {"X-Redirect", "1"}});
    };
    for (const int count : {1, 5}) {
        for (int hop = 1; hop <= count; ++hop)
            server.enqueue(redirect("/hop" + std::to_string(hop)));
        server.enqueue(Reply::status(200, "there"));
        const auto outcome = fetch(session, makeRequest(server.url("/start"), "GET"));
        EXPECT_EQ(outcome.summary(), "200 there");
        ASSERT_TRUE(outcome.response);
        EXPECT_EQ(outcome.response->url, server.url("/hop" + std::to_string(count)));
        EXPECT_FALSE(outcome.response->allHeaderFields.contains("X-Redirect"));
    }

    // Another server means another connection, made after the first request has gone out.
    const LoopbackServer elsewhere;
    server.enqueue(redirect(elsewhere.url("/moved").absoluteString()));
    EXPECT_EQ(fetch(session, makeRequest(server.url())).summary(), "200 ");
    EXPECT_EQ(elsewhere.requests().size(), 1U);

    LoopbackServer endless;
    endless.setDefault(redirect("/again"));
    EXPECT_EQ(fetch(session, makeRequest(endless.url())).summary(), summary(URLError::httpTooManyRedirects));
    EXPECT_EQ(endless.requests().size(), 6U);

    for (const auto* target : {"file:///etc/hostname", "ftp://127.0.0.1/", "gopher://127.0.0.1/", "http://"}) {
        server.enqueue(redirect(target));
        EXPECT_EQ(fetch(session, makeRequest(server.url())).summary(), summary(URLError::unsupportedURL)) << target;
    }

    server.enqueue(redirect("/garbage"));
    server.enqueue(Reply::raw("garbage"));
    EXPECT_EQ(fetch(session, makeRequest(server.url())).summary(), summary(URLError::badServerResponse));
}

TEST_F(URLSessionTest, RedirectsNothingThatHasABodyOrIsNotAGet)
{
    server.setDefault(Reply::status(302, "moved", {{"Location", "/elsewhere"}}));
    const std::pair<std::string, std::optional<std::string>> rows[]
        = {{"POST", "x"}, {"POST", {}}, {"PUT", "x"}, {"DELETE", {}}, {"GET", "x"}};
    std::size_t sent = 0;
    for (const auto& [method, body] : rows) {
        const auto outcome = fetch(session, makeRequest(server.url("/here"), method, body));
        EXPECT_EQ(outcome.summary(), "302 moved") << method;
        EXPECT_EQ(outcome.response.value().url, server.url("/here"));
        EXPECT_EQ(server.requests().size(), ++sent) << method;
    }
}

// A server that has gone away between two requests, just before or just after it read the second: nobody knows whether
// it acted on it, so it must not see it again.
TEST_F(URLSessionTest, SendsNothingTwiceWhenAReusedConnectionIsLost)
{
    const std::pair<std::string, std::optional<std::string>> rows[] = {{"GET", {}}, {"GET", "x"}, {"POST", "x"},
        {"POST", std::string(mebibyte, 'x')}, {"POST", {}}, {"PUT", "x"}, {"DELETE", {}}, {"HEAD", {}}};
    for (const auto& end : {Reply::close(), Reply::reset()}) {
        for (const auto& [method, body] : rows) {
            LoopbackServer fresh;
            fresh.enqueue(Reply::status(200));
            fresh.enqueue(end);
            EXPECT_EQ(fetch(session, makeRequest(fresh.url("/first"))).summary(), "200 ");
            const auto outcome = fetch(session, makeRequest(fresh.url("/second"), method, body));
            EXPECT_EQ(outcome.summary(), summary(URLError::networkConnectionLost)) << method;
            const auto requests = fresh.requests();
            ASSERT_EQ(requests.size(), 2U) << method;
            EXPECT_EQ(requests[1].connection, 0) << "the connection was not reused, so this shows nothing";
            EXPECT_EQ(fresh.connections(), 1) << "nor is a new connection made for it";
            EXPECT_EQ(fetch(session, makeRequest(fresh.url("/third"))).summary(), "200 ") << "a new one is made";
        }
    }
}

TEST_F(URLSessionTest, TakesABodyOf32MebibytesAndNoMore)
{
    for (const bool announced : {true, false}) {
        for (const std::size_t size : {32 * mebibyte - 1, 32 * mebibyte, 32 * mebibyte + 1}) {
            const auto body = std::string(size, 'b');
            server.enqueue(announced ? Reply::status(200, body) : Reply::raw("HTTP/1.1 200 OK\r\n\r\n" + body));
            const auto outcome = fetch(session, makeRequest(server.url()));
            if (size <= 32 * mebibyte)
                EXPECT_TRUE(outcome.body && outcome.body->text() == body) << size;
            else
                EXPECT_EQ(outcome.error, URLError::dataLengthExceedsMaximum);
        }
    }
    // What is announced as too large is given up before it comes, and HEAD may announce what it likes.
    const auto huge = "HTTP/1.1 200 OK\r\nContent-Length: 99999999999\r\n\r\n"s;
    server.enqueue(Reply::raw(huge + "b", Reply::Then::silence));
    EXPECT_EQ(fetch(session, makeRequest(server.url())).error, URLError::dataLengthExceedsMaximum);
    server.enqueue(Reply::raw(huge, Reply::Then::keepConnection));
    EXPECT_EQ(fetch(session, makeRequest(server.url(), "HEAD")).summary(), "200 ");
}

TEST_F(URLSessionTest, CutsTheReplyToWhatIsNoDownloadAfterAMebibyte)
{
    const std::pair<std::string, std::optional<std::string>> requests[]
        = {{"POST", "x"}, {"POST", std::nullopt}, {"PUT", "x"}, {"DELETE", std::nullopt}, {"GET", "x"}};
    for (const auto& [method, sent] : requests) {
        for (const bool announced : {true, false}) {
            for (const std::size_t size : {mebibyte, mebibyte + 1, 40 * mebibyte}) {
                SCOPED_TRACE(method + " " + std::to_string(size) + (announced ? " announced" : ""));
                const auto body = std::string(size, 'b');
                server.enqueue(announced ? Reply::status(200, body) : Reply::raw("HTTP/1.1 200 OK\r\n\r\n" + body));
                const auto outcome = fetch(session, makeRequest(server.url(), method, sent));
                ASSERT_TRUE(outcome.body && outcome.response) << outcome.error.message();
                EXPECT_EQ(outcome.response->statusCode, 200) << "what was sent has been delivered";
                EXPECT_EQ(outcome.body->size(), mebibyte);
                EXPECT_EQ(outcome.response->isBodyCut, size > mebibyte);
            }
        }
    }
    // The rest of a reply that was cut answers nothing.
    EXPECT_EQ(fetch(session, makeRequest(server.url(), "POST", "x")).summary(), "200 ");
}

TEST_F(URLSessionTest, NothingWaitsBehindDownloads)
{
    server.setDefault(Reply::never());
    std::vector<HTTPCall> downloads;
    for (int count = 0; count < 20; ++count)
        downloads.emplace_back(session, makeRequest(server.url("/picture"))).start();
    ASSERT_TRUE(server.waitForRequests(6));
    server.setDefault(Reply::status(200));
    EXPECT_EQ(fetch(session, makeRequest(server.url("/event"), "POST", "x")).summary(), "200 ");
    EXPECT_EQ(server.requests().size(), 7U) << "there was a free connection, so this shows nothing";
}

TEST_F(URLSessionTest, ReusesConnectionsAndOpensSixAtMost)
{
    for (int count = 0; count < 20; ++count)
        EXPECT_EQ(fetch(session, makeRequest(server.url(), "POST", "x")).summary(), "200 ");
    EXPECT_EQ(server.connections(), 1);

    const auto gate = std::make_shared<Gate>();
    server.setDefault(Reply::status(200).held(gate));
    std::vector<HTTPCall> calls;
    for (int count = 0; count < 500; ++count)
        calls.emplace_back(session, makeRequest(server.url())).start();
    EXPECT_TRUE(server.waitForRequests(20 + 6));
    gate->open();
    for (const auto& call : calls)
        EXPECT_EQ(call.wait().summary(), "200 ");
    EXPECT_EQ(server.requests().size(), 520U);
    EXPECT_EQ(server.connections(), 6);
}

TEST(CurlHostQueueTest, KnowsTheSameHostByAllItsNames)
{
    const std::pair<std::string, std::optional<std::string>> rows[] = {
        {"http://h/path?q=@", "http://h"},
        {"http://u:p%40@h:", "http://h"},
        {"https://h:443/", "https://h"},
        {"http://[::1]:80", "http://[::1]"},
        {"http://", {}},
        {"http://u@/", {}},
        {"wss://h", {}},
        {"h", {}},
    };
    for (const auto& [url, host] : rows)
        EXPECT_EQ(CurlHostQueue::host(url), host) << url;
}

TEST(URLSessionEnvironmentTest, TakesNoProxyFromTheEnvironment)
{
    LoopbackServer server;
    LoopbackServer proxy;
    for (const auto* name : {"http_proxy", "HTTP_PROXY", "all_proxy", "ALL_PROXY", "https_proxy"})
        ::setenv(name, proxy.url().absoluteString().c_str(), 1);
    {
        URLSessionCurl session;
        EXPECT_EQ(fetch(session, makeRequest(server.url())).summary(), "200 ");
    }
    for (const auto* name : {"http_proxy", "HTTP_PROXY", "all_proxy", "ALL_PROXY", "https_proxy"})
        ::unsetenv(name);
    EXPECT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(proxy.connections(), 0);
}

} // namespace
} // namespace kova::tests
