// Servers that mean harm, or are broken: replies without an end, and bytes that nobody asked for.

#include "Platform/Libraries/URLSessionCurl.h"
#include "Tests/Support/HTTPCall.h"
#include "Tests/Support/LoadSize.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/ProcessResources.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace std::chrono_literals;
using namespace std::string_literals;

namespace kova::tests {
namespace {

const auto ok = "HTTP/1.1 200 OK\r\n"s;

class URLSessionHostileTest : public testing::Test {
protected:
    LoopbackServer server;
    URLSessionCurl session;
};

TEST_F(URLSessionHostileTest, WhatHasNoEndEndsInTimeAndTakesABoundedAmountOfMemory)
{
    const auto chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
    const std::string kilobyte(1'000, 'x');
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"status line", "HTTP/1.1 200 ", kilobyte},
        {"no line at all", "", kilobyte},
        {"one header line", ok + "X: ", kilobyte},
        {"one header line, folded", ok + "X: a\r\n", " " + kilobyte + "\r\n"},
        {"header fields of one name", ok, "X: " + kilobyte + "\r\n"},
        {"header fields as short as can be", ok, "a:\r\nb:\r\nc:\r\n"},
        {"header lines that are none", ok, kilobyte + "\r\n"},
        {"interim replies", "", "HTTP/1.1 103 Early\r\nX: " + kilobyte + "\r\n\r\n"},
        {"interim replies without a field", "", "HTTP/1.1 100 Continue\r\n\r\n"},
        {"body", ok + "\r\n", kilobyte},
        {"body beyond its length", ok + "Content-Length: 40000000\r\n\r\n", kilobyte},
        {"body after a switch of protocols", "HTTP/1.1 101 Switching\r\nUpgrade: x\r\n\r\n", kilobyte},
        {"large chunks", chunked, "3e8\r\n" + kilobyte + "\r\n"},
        {"small chunks", chunked, "1\r\nx\r\n1\r\ny\r\n"},
        {"size of a chunk", chunked, "0000000000"},
        {"extension of a chunk", chunked + "1;", kilobyte},
        {"trailer", chunked + "0\r\n", "X: " + kilobyte + "\r\n"},
        {"one line of the trailer", chunked + "0\r\n", kilobyte},
        {"redirect", "HTTP/1.1 302 Found\r\nLocation: /\r\n\r\n", kilobyte},
    };
    std::size_t before = 0;
    for (const auto& [name, head, repeated] : rows) {
        LoopbackServer endless;
        endless.setDefault(Reply::raw(head).endless(repeated));
        auto request = makeRequest(endless.url());
        request.timeoutInterval = 1s;
        const auto begin = std::chrono::steady_clock::now();
        const auto outcome = fetch(session, request);
        EXPECT_TRUE(outcome.error) << name << ": " << outcome.summary().substr(0, 100);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s) << name;
        // The first one makes the thread's memory.
        before = before == 0 ? ProcessResources::now().peakResidentBytes : before;
    }
    // A body of 32 MiB, and once more where its buffer grows.
    if (memoryTells) {
        EXPECT_LT(ProcessResources::now().peakResidentBytes - before, 110U << 20U);
    }
}

// What a server says between two requests belongs to neither: taken for the second one's reply, it would tell that an
// event has arrived which the server has perhaps refused.
TEST_F(URLSessionHostileTest, BytesThatNobodyAskedForAnswerNoRequest)
{
    struct Row {
        const char* name;
        std::string method;
        std::string reply;
        std::string unasked;
    };
    const auto complete = ok + "Content-Length: 5\r\n\r\n";
    const auto stray = complete + "stray";
    const Row rows[] = {
        {"a second reply", "GET", complete + "first", stray},
        {"a second reply, to a post", "POST", complete + "first", stray},
        {"the body that was left out of a reply to HEAD", "HEAD", complete, stray},
        {"a body of what has none", "GET", "HTTP/1.1 204 None\r\n\r\n", stray},
        {"a body of what has not changed", "GET", "HTTP/1.1 304 Same\r\nContent-Length: 5\r\n\r\n", stray},
        {"more of the body", "GET", complete + "first", "overflow" + stray},
        {"an interim reply", "GET", complete + "first", "HTTP/1.1 103 Early\r\nX: y\r\n\r\n" + stray},
        {"a byte", "GET", complete + "first", "x"},
    };
    for (const bool comesLater : {false, true}) {
        for (const auto& row : rows) {
            LoopbackServer fresh;
            const auto gate = std::make_shared<Gate>();
            const auto sent = std::make_shared<Gate>();
            fresh.enqueue(Reply::raw(row.reply + (comesLater ? "" : row.unasked), Reply::Then::keepConnection)
                    .before({.heldBy = gate, .bytes = comesLater ? row.unasked : "", .sent = sent}));
            const auto body = row.method == "POST" ? std::optional {"one"s} : std::nullopt;
            EXPECT_FALSE(fetch(session, makeRequest(fresh.url("/first"), row.method, body)).error) << row.name;
            gate->open();
            ASSERT_TRUE(sent->enter({}));
            fresh.setDefault(Reply::status(200, "asked"));
            EXPECT_EQ(fetch(session, makeRequest(fresh.url("/second"), "POST", "two")).summary(), "200 asked")
                << row.name << (comesLater ? ", later" : ", at once");
            EXPECT_EQ(fresh.requests().size(), 2U) << row.name;
        }
    }
}

TEST_F(URLSessionHostileTest, AConnectionThatWasClosedWhileItRestedIsReplaced)
{
    for (const auto then : {Reply::Then::close, Reply::Then::reset}) {
        LoopbackServer fresh;
        const auto gate = std::make_shared<Gate>();
        auto closing = Reply::status(200).before({.heldBy = gate, .bytes = {}, .sent = std::make_shared<Gate>()});
        closing.then = then;
        fresh.enqueue(std::move(closing));
        EXPECT_EQ(fetch(session, makeRequest(fresh.url("/first"))).summary(), "200 ");
        gate->open();
        ASSERT_TRUE(fresh.waitUntilAllAreClosed());
        EXPECT_EQ(fetch(session, makeRequest(fresh.url("/second"), "POST", "x")).summary(), "200 ");
        EXPECT_EQ(fresh.requests().size(), 2U);
        EXPECT_EQ(fresh.connections(), 2);
    }
}

// The server closes just while the next request sets out: it arrives once, or fails, whoever is faster.
TEST_F(URLSessionHostileTest, ACloseThatCrossesARequestNeverMakesItTwo)
{
    int failed = 0;
    for (int round = 0; round < 300; ++round) {
        const auto gate = std::make_shared<Gate>();
        auto closing = Reply::status(200).before({.heldBy = gate, .bytes = {}, .sent = std::make_shared<Gate>()});
        closing.then = round % 2 == 0 ? Reply::Then::close : Reply::Then::reset;
        server.enqueue(std::move(closing));
        ASSERT_EQ(fetch(session, makeRequest(server.url("/first"))).summary(), "200 ");
        HTTPCall crossing {session, makeRequest(server.url("/second"), "POST", "x")};
        crossing.start();
        gate->open();
        const auto outcome = crossing.wait();
        const auto arrived = std::ranges::count(server.takeRequests(), "/second", &RecordedRequest::target);
        failed += outcome.error ? 1 : 0;
        EXPECT_TRUE(!outcome.error || outcome.error == URLError::networkConnectionLost) << outcome.summary();
        EXPECT_LE(arrived, 1);
        EXPECT_TRUE(outcome.error || arrived == 1);
    }
    RecordProperty("failed", failed);
}

} // namespace
} // namespace kova::tests
