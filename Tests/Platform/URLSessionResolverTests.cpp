// Name servers that never answer, that know nothing, and that are not there.
//
// They are made in a child process with a network and a resolver configuration of its own.

#include "Platform/Libraries/URLSessionCurl.h"
#include "Tests/Support/HTTPCall.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <thread>

using namespace std::chrono_literals;

namespace kova::tests {
namespace {

constexpr int cannotBeTried = 77;

/// Gives this process a loopback network of its own in which 127.0.0.1 is the name server. Returns its socket, or -1.
int becomeOwnNameServer()
{
    std::array<char, 32> file {"/tmp/kova-resolver-XXXXXX"};
    const auto configuration = ::mkstemp(file.data());
    const std::string_view text = "nameserver 127.0.0.1\n";
    const bool isSet = configuration >= 0 && ::write(configuration, text.data(), text.size()) == std::ssize(text)
        && ::unshare(CLONE_NEWUSER | CLONE_NEWNET | CLONE_NEWNS) == 0
        && ::mount(file.data(), "/etc/resolv.conf", nullptr, MS_BIND, nullptr) == 0;
    ::unlink(file.data());
    const auto server = ::socket(AF_INET, SOCK_DGRAM, 0);
    ifreq loopback {};
    std::strcpy(loopback.ifr_name, "lo");
    loopback.ifr_flags = IFF_UP;
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(53);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval patience {.tv_sec = 10, .tv_usec = 0};
    if (!isSet || ::ioctl(server, SIOCSIFFLAGS, &loopback) != 0
        || ::bind(server, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0
        || ::setsockopt(server, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience) != 0)
        return -1;
    return server;
}

/// How a task ends, and after how long.
struct Ending {
    std::error_code error;
    std::chrono::steady_clock::duration taken {};
};

Ending lookUp(URLSession& session, std::chrono::duration<double> timeout)
{
    auto request = makeRequest(URL::create("http://slow.kova.example/").value());
    request.timeoutInterval = timeout;
    const auto start = std::chrono::steady_clock::now();
    const auto error = fetch(session, request).error;
    return {error, std::chrono::steady_clock::now() - start};
}

/// Sends questions back as answers that say "server failure".
void failOnce(int nameServer)
{
    std::array<char, 512> query;
    sockaddr_in asker {};
    socklen_t size = sizeof asker;
    const auto length
        = ::recvfrom(nameServer, query.data(), query.size(), 0, reinterpret_cast<sockaddr*>(&asker), &size);
    if (length < 12)
        return;
    query[2] = static_cast<char>(query[2] | '\x80');
    query[3] = static_cast<char>((query[3] & '\xf0') | 2);
    (void)::sendto(
        nameServer, query.data(), static_cast<std::size_t>(length), 0, reinterpret_cast<const sockaddr*>(&asker), size);
}

[[noreturn]] void failToResolve()
{
    const auto nameServer = becomeOwnNameServer();
    if (nameServer < 0)
        std::_Exit(cannotBeTried);
    URLSessionCurl session;
    const auto silent = lookUp(session, 300ms);
    std::jthread failing {[nameServer](const std::stop_token& stop) {
        while (!stop.stop_requested())
            failOnce(nameServer);
    }};
    const auto refused = lookUp(session, 10s);
    failing.request_stop();
    ::shutdown(nameServer, SHUT_RDWR);
    ::close(nameServer);
    const auto absent = lookUp(session, 10s);
    const auto ms
        = [](const Ending& ending) { return std::chrono::duration<double, std::milli> {ending.taken}.count(); };
    std::cerr << "silent " << ms(silent) << " ms, " << silent.error.message() << "; refused " << ms(refused) << " ms, "
              << refused.error.message() << "; absent " << ms(absent) << " ms, " << absent.error.message() << "\n";
    const auto isRight = silent.error == URLError::timedOut && silent.taken < 2s
        && refused.error == URLError::cannotFindHost && absent.error == URLError::cannotFindHost;
    std::_Exit(isRight ? 0 : 1);
}

[[noreturn]] void endWhileResolving()
{
    const auto nameServer = becomeOwnNameServer();
    if (nameServer < 0)
        std::_Exit(cannotBeTried);
    URLSessionCurl session;
    HTTPCall call {session, makeRequest(URL::create("http://slow.kova.example/").value())};
    call.start();
    std::array<char, 512> query;
    if (::recv(nameServer, query.data(), query.size(), 0) <= 0) {
        std::cerr << "the name server was not asked\n";
        std::_Exit(1);
    }
    const auto start = std::chrono::steady_clock::now();
    session.invalidateAndCancel();
    const auto taken = std::chrono::steady_clock::now() - start;
    const auto isRight = call.wait().error == URLError::cancelled && taken < 500ms;
    std::cerr << "the end took " << std::chrono::duration<double, std::milli> {taken}.count() << " ms\n";
    std::_Exit(isRight ? 0 : 1);
}

void runInChild(void (*scene)())
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    int status = 0;
    EXPECT_EXIT(
        scene(),
        [&](int exitStatus) {
            status = exitStatus;
            return WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == cannotBeTried);
        },
        "");
    if (WIFEXITED(status) && WEXITSTATUS(status) == cannotBeTried)
        GTEST_SKIP() << "this system gives no network namespace to a test";
}

TEST(URLSessionResolverDeathTest, TheEndOfTheSessionDoesNotWaitForTheResolver)
{
    runInChild(&endWhileResolving);
}

TEST(URLSessionResolverDeathTest, ANameServerThatFailsOrHangsHoldsNobodyUpForLongerThanTheTimeOut)
{
    runInChild(&failToResolve);
}

} // namespace
} // namespace kova::tests
