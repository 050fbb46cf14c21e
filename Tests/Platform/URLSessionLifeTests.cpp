// When tasks end: time-outs, cancelling, and the end of the session, from every side.

#include "Platform/Foundation/Activity.h"
#include "Platform/Libraries/URLSessionCurl.h"
#include "Tests/Support/HTTPCall.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/Waiting.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <functional>
#include <future>
#include <limits>
#include <thread>

using namespace std::chrono_literals;

namespace kova::tests {
namespace {

using Clock = std::chrono::steady_clock;

const auto cancelled = summary(URLError::cancelled);
const auto timedOut = summary(URLError::timedOut);

URLRequest withTimeout(URLRequest request, std::chrono::duration<double> timeout)
{
    request.timeoutInterval = timeout;
    return request;
}

bool isReadyInTime(const std::future<void>& future)
{
    return future.wait_for(10s) == std::future_status::ready;
}

class URLSessionLifeTest : public testing::Test {
protected:
    /// Calls that the server has read and never answers.
    std::vector<HTTPCall> startUnanswered(int count)
    {
        std::vector<HTTPCall> calls;
        server.setDefault(Reply::never());
        const auto before = server.requests().size();
        for (int index = 0; index < count; ++index)
            calls.emplace_back(*session, makeRequest(server.url("/unanswered"))).start();
        EXPECT_TRUE(server.waitForRequests(before + static_cast<std::size_t>(count)));
        return calls;
    }

    LoopbackServer server;
    std::shared_ptr<URLSessionCurl> session = std::make_shared<URLSessionCurl>();
};

TEST_F(URLSessionLifeTest, TimesOutByTheWholeExchange)
{
    const auto gate = std::make_shared<Gate>();
    // Bytes do come in, but never the last one.
    gate->pass(30);
    const Reply replies[] = {
        Reply::never(),
        Reply::status(200).held(std::make_shared<Gate>()),
        Reply::status(200, "body").paced(gate),
        Reply::raw("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbo", Reply::Then::silence),
        Reply::raw("HTTP/1.1 103 Early\r\n\r\n", Reply::Then::silence),
    };
    for (const auto& reply : replies) {
        server.enqueue(reply);
        const auto start = Clock::now();
        EXPECT_EQ(fetch(*session, withTimeout(makeRequest(server.url(), "POST", "x"), 60ms)).summary(), timedOut);
        EXPECT_GE(Clock::now() - start, 60ms);
        EXPECT_LT(Clock::now() - start, 2s);
    }
    EXPECT_EQ(server.requests().size(), std::size(replies));
}

TEST_F(URLSessionLifeTest, TimesOutWhileWaitingForAConnection)
{
    const auto unanswered = startUnanswered(6);
    HTTPCall patient {*session, withTimeout(makeRequest(server.url("/patient")), 20s)};
    patient.start();
    EXPECT_EQ(fetch(*session, withTimeout(makeRequest(server.url("/queued")), 50ms)).summary(), timedOut);
    EXPECT_EQ(server.requests().size(), 6U) << "there was a free connection, so this shows nothing";
    EXPECT_EQ(patient.completions(), 0);
}

TEST_F(URLSessionLifeTest, MadeWhileThereWereNoDescriptorsItWorksOnceThereAre)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer opens a pipe to look at an object";
#endif
    server.setDefault(Reply::status(200));
    rlimit before {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const int nextFree = dup(STDIN_FILENO);
    ASSERT_GE(nextFree, 0);
    close(nextFree);
    const rlimit none {.rlim_cur = static_cast<rlim_t>(nextFree), .rlim_max = before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    session = std::make_shared<URLSessionCurl>();
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(fetch(*session, makeRequest(server.url("/late"))).summary(), "200 ");
    session->invalidateAndCancel();
}

TEST_F(URLSessionLifeTest, SendsNothingWhenThereIsNoTime)
{
    for (const auto timeout : {0.0, -1.0, -1e300, std::numeric_limits<double>::quiet_NaN()}) {
        const auto request = withTimeout(makeRequest(server.url()), std::chrono::duration<double> {timeout});
        EXPECT_EQ(fetch(*session, request).summary(), timedOut) << timeout;
    }
    EXPECT_TRUE(server.requests().empty());
    for (const auto timeout : {1e300, std::numeric_limits<double>::infinity()}) {
        const auto request = withTimeout(makeRequest(server.url()), std::chrono::duration<double> {timeout});
        EXPECT_EQ(fetch(*session, request).summary(), "200 ") << timeout;
    }
}

TEST_F(URLSessionLifeTest, StartsOnceAndCompletesOnce)
{
    HTTPCall twice {*session, makeRequest(server.url())};
    twice.start().start();
    EXPECT_EQ(twice.wait().summary(), "200 ");
    twice.start().cancel();

    HTTPCall cancelledFirst {*session, makeRequest(server.url("/never"))};
    cancelledFirst.cancel();
    cancelledFirst.start();
    EXPECT_EQ(cancelledFirst.wait().summary(), cancelled);
    EXPECT_TRUE(cancelledFirst.wait().wasOnCompletionThread);

    server.setDefault(Reply::never());
    HTTPCall cancelledAtOnce {*session, makeRequest(server.url("/maybe"))};
    cancelledAtOnce.start().cancel();
    cancelledAtOnce.cancel();
    EXPECT_EQ(cancelledAtOnce.wait().summary(), cancelled);
    server.setDefault(Reply::status(200));

    auto dropped = HTTPCall {*session, makeRequest(server.url("/dropped"))};
    dropped.start().drop();
    EXPECT_EQ(dropped.wait().summary(), "200 ");

    HTTPCall neverStarted {*session, makeRequest(server.url("/never"))};
    neverStarted.drop();

    auto unanswered = startUnanswered(1);
    unanswered[0].cancel();
    EXPECT_EQ(unanswered[0].wait().summary(), cancelled);

    // Completions run one after another, so after this one everything before it has had its chance to come twice.
    server.setDefault(Reply::status(200));
    EXPECT_EQ(fetch(*session, makeRequest(server.url("/last"))).summary(), "200 ");
    for (const auto* call : {&twice, &cancelledFirst, &cancelledAtOnce, &dropped, &unanswered[0]})
        EXPECT_EQ(call->completions(), 1);
    EXPECT_EQ(neverStarted.completions(), 0);
    for (const auto& request : server.requests())
        EXPECT_NE(request.target, "/never");
}

TEST_F(URLSessionLifeTest, TasksMayBeMadeResumedAndCancelledInACompletion)
{
    auto unanswered = startUnanswered(1);
    HTTPCall inner {*session, makeRequest(server.url("/inner"))};
    server.setDefault(Reply::status(200));
    std::promise<void> done;
    const auto outer = session->dataTask(makeRequest(server.url("/outer")), [&](auto, auto, auto) {
        inner.start();
        unanswered[0].cancel();
        done.set_value();
    });
    outer->resume();
    EXPECT_TRUE(isReadyInTime(done.get_future()));
    EXPECT_EQ(inner.wait().summary(), "200 ");
    EXPECT_EQ(unanswered[0].wait().summary(), cancelled);
}

/// Runs a function when it is let go of, as it is by a completion that holds it.
std::shared_ptr<void> atEnd(const std::function<void()>& function)
{
    return {nullptr, [function](std::nullptr_t) { function(); }};
}

TEST_F(URLSessionLifeTest, TheActivityLastsUntilTheCompletionIsDestroyed)
{
    EXPECT_TRUE(Activity::waitUntilIdle(Clock::now()));
    std::promise<void> destroyed;
    std::atomic<bool> wasIdle = true;
    auto held = atEnd([&] {
        // What a completion holds may use the session while it goes away.
        session->dataTask(makeRequest(server.url()), {})->cancel();
        wasIdle = Activity::waitUntilIdle(Clock::now());
        destroyed.set_value();
    });
    server.setDefault(Reply::never());
    const auto task = session->dataTask(makeRequest(server.url()), [held = std::move(held)](auto, auto, auto) { });
    EXPECT_TRUE(Activity::waitUntilIdle(Clock::now())) << "a task that has not started is no activity";
    task->resume();
    EXPECT_FALSE(Activity::waitUntilIdle(Clock::now()));
    task->cancel();
    EXPECT_TRUE(isReadyInTime(destroyed.get_future()));
    EXPECT_FALSE(wasIdle);
    EXPECT_TRUE(Activity::waitUntilIdle(Clock::now() + 10s));
}

TEST_F(URLSessionLifeTest, TheEndOfTheSessionCancelsEverythingAtOnce)
{
    auto calls = startUnanswered(6);
    calls.emplace_back(*session, makeRequest(server.url("/queued"))).start();
    calls.emplace_back(*session, makeRequest(server.url("/idle")));
    HTTPCall dropped {*session, makeRequest(server.url("/idle"))};
    dropped.drop();

    const auto start = Clock::now();
    session->invalidateAndCancel();
    EXPECT_LT(Clock::now() - start, 1s) << "it takes a few milliseconds when nothing is waited for";
    for (auto& call : calls) {
        EXPECT_EQ(call.completions(), 1);
        EXPECT_EQ(call.wait().summary(), cancelled);
        EXPECT_TRUE(call.wait().wasOnCompletionThread);
        call.start();
        call.cancel();
        EXPECT_EQ(call.completions(), 1);
    }
    EXPECT_EQ(dropped.completions(), 0);
    EXPECT_TRUE(Activity::waitUntilIdle(Clock::now()));

    HTTPCall late {*session, makeRequest(server.url("/late"))};
    EXPECT_EQ(late.start().completions(), 1) << "completes before the call returns";
    EXPECT_EQ(late.wait().summary(), cancelled);
    EXPECT_FALSE(late.wait().wasOnCompletionThread);
    HTTPCall lateCancelled {*session, makeRequest(server.url("/late"))};
    lateCancelled.cancel();
    lateCancelled.start();
    EXPECT_EQ(lateCancelled.completions(), 1);
    session->invalidateAndCancel();
}

TEST_F(URLSessionLifeTest, ACompletionMayEndTheSession)
{
    auto calls = startUnanswered(2);
    calls.emplace_back(*session, makeRequest(server.url("/idle")));
    server.setDefault(Reply::status(200));
    std::promise<int> completed;
    const auto task = session->dataTask(makeRequest(server.url()), [&](auto, auto, auto) {
        session->invalidateAndCancel();
        int count = 0;
        for (const auto& call : calls)
            count += call.completions();
        completed.set_value(count);
    });
    task->resume();
    EXPECT_EQ(completed.get_future().get(), 3) << "all others have completed when the call returns";
    session->invalidateAndCancel();
}

TEST_F(URLSessionLifeTest, TheLastReferenceMayDropOnTheSessionsOwnThread)
{
    for (const bool inDestructor : {false, true}) {
        session = std::make_shared<URLSessionCurl>();
        auto calls = startUnanswered(2);
        server.setDefault(Reply::status(200));
        std::promise<void> done;
        Gate gate;
        auto held = std::make_unique<std::shared_ptr<URLSessionCurl>>(session);
        // What is captured first is destroyed last.
        auto task = session->dataTask(makeRequest(server.url()),
            [end = atEnd([&] { done.set_value(); }), held = std::move(held), &gate, inDestructor](
                auto, auto, auto) mutable {
                gate.enter({});
                if (!inDestructor)
                    held.reset();
            });
        task->resume();
        session.reset();
        gate.open();
        EXPECT_TRUE(isReadyInTime(done.get_future()));
        for (const auto& call : calls)
            EXPECT_EQ(call.wait().summary(), cancelled);
        EXPECT_TRUE(Activity::waitUntilIdle(Clock::now() + 10s));
    }
}

// As one does that prints to a log which is read slowly.
TEST_F(URLSessionLifeTest, ACompletionThatTakesLongHoldsUpNoExchange)
{
    Gate gate;
    std::promise<void> entered;
    const auto slow = session->dataTask(makeRequest(server.url("/slow")), [&](auto, auto, auto) {
        entered.set_value();
        gate.enter({});
    });
    slow->resume();
    ASSERT_TRUE(isReadyInTime(entered.get_future()));
    LoopbackServer other;
    std::vector<HTTPCall> calls;
    constexpr std::size_t count = 300;
    for (std::size_t index = 0; index < count; ++index)
        calls.emplace_back(*session, makeRequest(other.url(), "POST", "x")).start();
    EXPECT_TRUE(other.waitForRequests(64)) << "requests go out";
    EXPECT_FALSE(comesTrue([&] { return other.requests().size() > 64U + 6U; }, 200ms)) << "replies take memory";
    gate.open();
    for (const auto& call : calls)
        EXPECT_EQ(call.wait().summary(), "200 ");
    EXPECT_EQ(other.requests().size(), count);
}

TEST_F(URLSessionLifeTest, AReplyThatWaitsForItsCompletionOutlivesTheEndOfTheSession)
{
    Gate gate;
    std::promise<void> entered;
    const auto slow = session->dataTask(makeRequest(server.url("/slow")), [&](auto, auto, auto) {
        entered.set_value();
        gate.enter({});
    });
    slow->resume();
    ASSERT_TRUE(isReadyInTime(entered.get_future()));
    LoopbackServer other;
    other.enqueue(Reply::status(200));
    other.setDefault(Reply::never());
    std::vector<HTTPCall> calls;
    const std::array targets {"/0", "/1", "/2", "/3", "/4", "/5", "/6"};
    // The seventh is sent when the exchange of one of the others has ended.
    for (const auto* const target : targets)
        calls.emplace_back(*session, makeRequest(other.url(target), "POST", "x")).start();
    EXPECT_TRUE(other.waitForRequests(targets.size()));
    {
        const std::jthread end {[&] { session->invalidateAndCancel(); }};
        gate.open();
    }
    const auto answered = other.requests().front().target;
    for (std::size_t index = 0; index < calls.size(); ++index)
        EXPECT_EQ(calls[index].wait().summary(), answered == targets[index] ? "200 " : cancelled);
}

// Many threads make, start, cancel and drop tasks while the session ends: every task that was started or cancelled
// completes once, whichever came first.
TEST_F(URLSessionLifeTest, EveryTaskCompletesOnceInARaceWithTheEnd)
{
    for (int round = 0; round < 20; ++round) {
        session = std::make_shared<URLSessionCurl>();
        std::atomic<int> begun = 0;
        std::atomic<int> completed = 0;
        std::atomic<int> underWay = 0;
        std::vector<std::thread> threads;
        for (int index = 0; index < 4; ++index) {
            threads.emplace_back([&, index, own = session] {
                for (int count = 0; count < 30; ++count) {
                    const auto task = own->dataTask(makeRequest(server.url()), [&](auto, auto, auto) { ++completed; });
                    ++underWay;
                    const auto kind = (index + count) % 5;
                    if (kind == 4)
                        continue;
                    ++begun;
                    if (kind == 3)
                        task->cancel();
                    task->resume();
                    if (kind == 2)
                        task->cancel();
                }
            });
        }
        while (underWay < 10 + round * 4)
            std::this_thread::yield();
        session->invalidateAndCancel();
        for (auto& thread : threads)
            thread.join();
        threads.clear();
        // A task that a thread dropped unstarted may have been cancelled before by the end of the session.
        EXPECT_GE(completed, begun);
        EXPECT_LE(completed, underWay);
        EXPECT_TRUE(Activity::waitUntilIdle(Clock::now()));
    }
}

} // namespace
} // namespace kova::tests
