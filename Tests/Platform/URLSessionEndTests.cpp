// The end of the session in the middle of everything that an exchange goes through: at once, and with nothing left.

#include "Platform/Libraries/URLSessionCurl.h"
#include "Tests/Support/FileDescriptor.h"
#include "Tests/Support/HTTPCall.h"
#include "Tests/Support/LoadSize.h"
#include "Tests/Support/LoopbackServer.h"
#include "Tests/Support/ProcessResources.h"

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <functional>

using namespace std::string_literals;

namespace kova::tests {
namespace {

const auto ok = "HTTP/1.1 200 OK\r\n"s;

/// Listens, and never takes a connection, let alone a byte. The system connects clients as long as there is room for
/// them to wait in.
class DeafServer {
public:
    DeafServer()
    {
        m_address.sin_family = AF_INET;
        m_address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof m_address;
        if (::bind(m_listener.get(), generic(), size) != 0 || ::listen(m_listener.get(), 0) != 0
            || ::getsockname(m_listener.get(), generic(), &size) != 0)
            throw std::system_error {errno, std::system_category(), "deaf server"};
    }

    [[nodiscard]] URL url(const std::string& scheme)
    {
        return URL::create(scheme + "://127.0.0.1:" + std::to_string(ntohs(m_address.sin_port)) + "/").value();
    }

    [[nodiscard]] bool waitForConnection() const
    {
        pollfd waiting {.fd = m_listener.get(), .events = POLLIN, .revents = 0};
        return ::poll(&waiting, 1, 10'000) == 1;
    }

    /// From now on connecting gets no answer.
    void takeAllRoom()
    {
        for (int count = 0; count < 4; ++count) {
            auto& waiting = m_waiting.emplace_back(
                ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket to fill the room");
            (void)::connect(waiting.get(), generic(), sizeof m_address);
        }
    }

private:
    sockaddr* generic() { return reinterpret_cast<sockaddr*>(&m_address); }

    sockaddr_in m_address {};
    FileDescriptor m_listener {::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "deaf server"};
    std::vector<FileDescriptor> m_waiting;
};

struct Scene {
    LoopbackServer server;
    DeafServer deaf;
    URLSessionCurl session;
    std::vector<HTTPCall> calls;

    void start(const URLRequest& request, int count = 1)
    {
        for (int index = 0; index < count; ++index)
            calls.emplace_back(session, request).start();
    }
    void startAndWait(Reply reply)
    {
        server.setDefault(std::move(reply));
        start(makeRequest(server.url()));
        EXPECT_TRUE(server.waitForRequests(1));
    }
};

TEST(URLSessionEndTest, TakesNoTimeAndLeavesNothingWhateverIsUnderWay)
{
    const std::pair<const char*, std::function<void(Scene&)>> rows[] = {
        {"an idle connection",
            [](Scene& scene) { EXPECT_EQ(fetch(scene.session, makeRequest(scene.server.url())).summary(), "200 "); }},
        {"half a head", [](Scene& scene) { scene.startAndWait(Reply::raw(ok, Reply::Then::silence)); }},
        {"a chunk without an end",
            [](Scene& scene) {
                scene.startAndWait(
                    Reply::raw(ok + "Transfer-Encoding: chunked\r\n\r\n1;").endless(std::string(1'000, 'x')));
            }},
        {"a body that nobody takes",
            [](Scene& scene) {
                scene.start(makeRequest(scene.deaf.url("http"), "POST", std::string(16U << 20U, 'x')));
                EXPECT_TRUE(scene.deaf.waitForConnection());
            }},
        {"a handshake without an answer",
            [](Scene& scene) {
                scene.start(makeRequest(scene.deaf.url("https")));
                EXPECT_TRUE(scene.deaf.waitForConnection());
            }},
        {"connecting without an answer",
            [](Scene& scene) {
                scene.deaf.takeAllRoom();
                scene.start(makeRequest(scene.deaf.url("http")), 6);
            }},
        {"a thousand that wait for a connection",
            [](Scene& scene) {
                scene.startAndWait(Reply::never());
                scene.start(makeRequest(scene.server.url()), 1'000);
            }},
    };
    // The first session initialises libraries.
    {
        const URLSessionCurl first;
    }
    for (const auto& [name, begin] : rows) {
        auto fastest = std::chrono::nanoseconds::max();
        // The fastest of some, since a busy machine may hold up any.
        for (int round = 0; round < 3 || (round < 20 && fastest >= promptly); ++round) {
            const auto before = ProcessResources::now();
            {
                Scene scene;
                begin(scene);
                const auto start = std::chrono::steady_clock::now();
                scene.session.invalidateAndCancel();
                fastest = std::min<std::chrono::nanoseconds>(fastest, std::chrono::steady_clock::now() - start);
                for (const auto& call : scene.calls) {
                    EXPECT_EQ(call.completions(), 1) << name;
                    EXPECT_EQ(call.wait().error, URLError::cancelled) << name;
                }
            }
            const auto after = ProcessResources::afterReturningTo(before);
            EXPECT_EQ(after.fileDescriptors, before.fileDescriptors) << name;
            EXPECT_EQ(after.threads, before.threads) << name;
        }
        EXPECT_LT(fastest, promptly) << name;
    }
}

} // namespace
} // namespace kova::tests
