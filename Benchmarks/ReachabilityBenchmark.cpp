// What reading a host's flags costs, beside the bare route query that it cannot do without.
//
// The two are measured in turn, round by round, so that a busy machine slows both; the table shows the medians.

#include "Platform/Linux/NetworkReachabilityLinux.h"

#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <iostream>
#include <vector>

namespace {

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
};

template <typename Call> double microsecondsPerCall(int calls, Call call)
{
    const auto begin = std::chrono::steady_clock::now();
    for (int index = 0; index < calls; ++index) {
        if (!call()) {
            std::cerr << "the kernel did not answer\n";
            std::exit(1);
        }
    }
    return std::chrono::duration<double, std::micro> {std::chrono::steady_clock::now() - begin}.count() / calls;
}

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

void compare(const char* host, std::array<unsigned char, 4> address)
{
    constexpr int rounds = 1001;
    constexpr int calls = 100;
    kova::NetworkReachabilityLinux service;
    const auto target = service.createWithName(host);
    BareQuery query {address};
    std::vector<double> bare;
    std::vector<double> flags;
    for (int round = 0; round < rounds; ++round) {
        bare.push_back(microsecondsPerCall(calls, [&query] { return query.run(); }));
        flags.push_back(microsecondsPerCall(calls, [&target] { return target->flags().has_value(); }));
    }
    std::cout << std::left << std::setw(22) << host << std::right << std::setw(12) << median(bare) << std::setw(12)
              << median(flags) << std::setw(9) << median(flags) / median(bare) << "   flags " << *target->flags()
              << '\n';
}

} // namespace

int main()
{
    std::cout << std::fixed << std::setprecision(2) << std::left << std::setw(22) << "host" << std::right
              << std::setw(12) << "query, us" << std::setw(12) << "flags, us" << std::setw(9) << "ratio" << '\n';
    // A name that never resolves, so the default route answers; and the loopback, to which there always is one.
    compare("www.kova.example", {192, 0, 2, 1});
    compare("127.0.0.1", {127, 0, 0, 1});
    return 0;
}
