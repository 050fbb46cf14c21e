#include "Tests/Support/NameServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>

namespace kova::tests {

namespace {

constexpr std::size_t headerSize = 12;
constexpr unsigned char typeA = 1;

} // namespace

/// A question as it came, up to its end, and who asked.
struct NameServer::Pending {
    std::string packet;
    sockaddr_in sender {};

    [[nodiscard]] std::string name() const
    {
        std::string text;
        for (auto label = headerSize; packet[label] != 0; label += 1U + static_cast<unsigned char>(packet[label]))
            text.append(text.empty() ? "" : ".").append(packet, label + 1, static_cast<unsigned char>(packet[label]));
        return text;
    }
    // Before the class; no type that is asked for here has two bytes.
    [[nodiscard]] int type() const { return packet[packet.size() - 3]; }
};

NameServer::NameServer(std::uint16_t port)
    : m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket")
    , m_end(eventfd(0, EFD_CLOEXEC), "eventfd")
{
    sockaddr_in local {};
    local.sin_family = AF_INET;
    local.sin_port = htons(port);
    local.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0)
        throw std::system_error(errno, std::generic_category(), "bind");
    m_thread = std::thread {[this] { run(); }};
}

NameServer::~NameServer()
{
    eventfd_write(m_end.get(), 1);
    m_thread.join();
}

std::string NameServer::address() const
{
    sockaddr_in local {};
    socklen_t size = sizeof local;
    getsockname(m_socket.get(), reinterpret_cast<sockaddr*>(&local), &size);
    return "127.0.0.1:" + std::to_string(ntohs(local.sin_port));
}

void NameServer::answer(const std::string& hostAddress)
{
    const std::lock_guard lock {m_mutex};
    m_answer = hostAddress;
    for (const auto& pending : m_pending)
        reply(pending);
    m_pending.clear();
}

std::optional<std::string> NameServer::waitForQuestion(std::chrono::milliseconds timeout)
{
    std::unique_lock lock {m_mutex};
    if (!m_changed.wait_for(lock, timeout, [this] { return m_questions.size() > m_seen; }))
        return std::nullopt;
    return m_questions[m_seen++];
}

void NameServer::run()
{
    while (true) {
        std::array entries {pollfd {.fd = m_end.get(), .events = POLLIN, .revents = 0},
            pollfd {.fd = m_socket.get(), .events = POLLIN, .revents = 0}};
        if (poll(entries.data(), entries.size(), -1) < 0)
            continue;
        if (entries[0].revents != 0)
            return;
        Pending pending;
        std::array<char, 512> packet {};
        socklen_t size = sizeof pending.sender;
        const auto count = recvfrom(
            m_socket.get(), packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&pending.sender), &size);
        pending.packet.assign(packet.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        // The name ends with an empty label; type and class follow.
        const auto end = pending.packet.find('\0', headerSize);
        if (end == std::string::npos || pending.packet.size() < end + 5)
            continue;
        pending.packet.resize(end + 5);
        const std::lock_guard lock {m_mutex};
        m_questions.push_back(pending.name());
        m_changed.notify_all();
        if (m_answer)
            reply(pending);
        else
            m_pending.push_back(std::move(pending));
    }
}

void NameServer::reply(const Pending& pending) const
{
    auto packet = pending.packet;
    // A response, recursion available, no error or a failure; one question, and one answer for an IPv4 address.
    const bool hasAddress = pending.type() == typeA && !m_answer->empty();
    const std::array<unsigned char, 10> header {
        0x81, static_cast<unsigned char>(m_answer->empty() ? 0x82 : 0x80), 0, 1, 0, 0, 0, 0, 0, 0};
    packet.replace(2, header.size(), reinterpret_cast<const char*>(header.data()), header.size());
    if (hasAddress) {
        packet[7] = 1;
        // The name of the question, type A, class IN, one minute, four bytes.
        constexpr std::array<unsigned char, 12> record {0xc0, headerSize, 0, typeA, 0, 1, 0, 0, 0, 60, 0, 4};
        packet.append(reinterpret_cast<const char*>(record.data()), record.size());
        in_addr address {};
        inet_pton(AF_INET, m_answer->c_str(), &address);
        packet.append(reinterpret_cast<const char*>(&address), sizeof address);
    }
    sendto(m_socket.get(), packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr*>(&pending.sender),
        sizeof pending.sender);
}

} // namespace kova::tests
