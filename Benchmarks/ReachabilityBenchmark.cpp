// What asking for the network costs, beside the bare route queries that it cannot do without.

#include "Benchmarks/Support/Effort.h"
#include "Benchmarks/Support/Figure.h"
#include "Benchmarks/Support/Require.h"
#include "Benchmarks/Support/Series.h"
#include "KovaSDK/Services/Networking/Reachability.h"
#include "Platform/Linux/NetworkReachabilityLinux.h"

#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>

namespace {

using namespace kova;
using namespace kova::benchmarks;

/// The question for the way to an IPv4 address and its answer on a raw socket, and nothing else.
class BareQuery {
public:
    explicit BareQuery(std::array<unsigned char, 4> address)
        : m_socket(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE))
    {
        m_request.header.nlmsg_len = sizeof m_request;
        m_request.header.nlmsg_type = RTM_GETROUTE;
        m_request.header.nlmsg_flags = NLM_F_REQUEST;
        m_request.route.rtm_family = AF_INET;
        m_request.route.rtm_dst_len = 32;
        m_request.attribute.rta_type = RTA_DST;
        m_request.attribute.rta_len = RTA_LENGTH(address.size());
        m_request.address = address;
    }
    ~BareQuery() { close(m_socket); }
    BareQuery(const BareQuery&) = delete;
    BareQuery& operator=(const BareQuery&) = delete;

    /// Whether the kernel knows a way there.
    bool leadsSomewhere() { return run() && m_answerType == RTM_NEWROUTE; }

    /// Whether the kernel answered.
    bool run()
    {
        ++m_request.header.nlmsg_seq;
        if (send(m_socket, &m_request, sizeof m_request, 0) < 0)
            return false;
        nlmsghdr answer {};
        if (recv(m_socket, m_answer.data(), m_answer.size(), 0) < static_cast<ssize_t>(sizeof answer))
            return false;
        std::memcpy(&answer, m_answer.data(), sizeof answer);
        m_answerType = answer.nlmsg_type;
        return answer.nlmsg_seq == m_request.header.nlmsg_seq;
    }

private:
    struct Request {
        nlmsghdr header;
        rtmsg route;
        rtattr attribute;
        std::array<unsigned char, 4> address;
    };

    int m_socket;
    Request m_request {};
    std::array<char, 8192> m_answer {};
    unsigned m_answerType = 0;
};

void compare(const char* host, std::array<unsigned char, 4> address, const Effort& effort)
{
    constexpr int calls = 100;
    const auto monitor = Reachability::create(host);
    const auto target = monitor->reachability();
    BareQuery query {address};
    Series bare;
    Series flags;
    Series connected;
    const int rounds = effort.rounds(1'000);
    for (int round = 0; round < rounds; ++round) {
        bare.measure(calls, [&query] { require(query.run(), "the kernel did not answer"); });
        flags.measure(calls, [&target] { require(target->flags().has_value(), "the flags cannot be read"); });
        connected.measure(calls, [&monitor] { require(monitor->isConnectedToNetwork(), "there is no route"); });
    }
    const auto to = std::string {", "} + host;
    report({.what = "flags" + to,
        .unit = "us",
        .value = flags.microseconds(),
        .bound = bare.microseconds(),
        .goal = Goal::ratio(1.3)});
    // Contract: the flags of a host that is reachable are read three times.
    report({.what = "isConnectedToNetwork" + to,
        .unit = "us",
        .value = connected.microseconds(),
        .bound = 3 * bare.microseconds(),
        .goal = Goal::ratio(1.3)});
}

} // namespace

int main(int argumentCount, char** arguments)
{
    const Effort effort {argumentCount, arguments};
    NetworkReachability::setShared(std::make_shared<NetworkReachabilityLinux>());
    // The address of a documentation network, to which there is a default route or none; the loopback, to which there
    // always is one.
    if (BareQuery {{192, 0, 2, 1}}.leadsSomewhere())
        compare("192.0.2.1", {192, 0, 2, 1}, effort);
    compare("127.0.0.1", {127, 0, 0, 1}, effort);
    NetworkReachability::setShared(nullptr);
    return 0;
}
