#include "Platform/Linux/NetlinkSocket.h"

#include <libmnl/libmnl.h>
#include <sys/socket.h>

#include <cerrno>

namespace kova {

void NetlinkSocket::Close::operator()(mnl_socket* socket) const
{
    mnl_socket_close(socket);
}

NetlinkSocket::NetlinkSocket(std::initializer_list<int> groups)
    : m_socket(mnl_socket_open2(NETLINK_ROUTE, SOCK_CLOEXEC | SOCK_NONBLOCK))
{
    if (!m_socket)
        return;
    bool isReady = mnl_socket_bind(m_socket.get(), 0, MNL_SOCKET_AUTOPID) == 0;
    for (const int group : groups)
        isReady = isReady && join(group);
    if (!isReady)
        m_socket.reset();
}

bool NetlinkSocket::join(int group)
{
    return m_socket && mnl_socket_setsockopt(m_socket.get(), NETLINK_ADD_MEMBERSHIP, &group, sizeof group) == 0;
}

int NetlinkSocket::descriptor() const
{
    return m_socket ? mnl_socket_get_fd(m_socket.get()) : -1;
}

std::expected<const nlmsghdr*, int> NetlinkSocket::ask(nlmsghdr& request)
{
    if (!m_socket)
        return std::unexpected {EBADF};
    request.nlmsg_flags |= NLM_F_REQUEST;
    request.nlmsg_seq = ++m_sequence;
    while (mnl_socket_sendto(m_socket.get(), &request, request.nlmsg_len) < 0) {
        if (errno != EINTR)
            return std::unexpected {errno};
    }
    const auto port = mnl_socket_get_portid(m_socket.get());
    while (true) {
        const auto batch = receive();
        if (!batch)
            return std::unexpected {batch.error()};
        auto left = static_cast<int>(batch->size());
        for (const auto* message = reinterpret_cast<const nlmsghdr*>(batch->data()); mnl_nlmsg_ok(message, left);
            message = mnl_nlmsg_next(message, &left)) {
            // The rest of an answer that was given up earlier may still be there.
            if (message->nlmsg_seq != m_sequence || message->nlmsg_pid != port)
                continue;
            if (message->nlmsg_type != NLMSG_ERROR)
                return message;
            if (mnl_nlmsg_get_payload_len(message) < sizeof(nlmsgerr))
                return std::unexpected {EBADMSG};
            return std::unexpected {-static_cast<const nlmsgerr*>(mnl_nlmsg_get_payload(message))->error};
        }
    }
}

std::expected<std::span<const std::byte>, int> NetlinkSocket::receive()
{
    if (!m_socket)
        return std::unexpected {EBADF};
    while (true) {
        // libmnl's own function asks for the sender, too, which costs half as much again and is of no use here.
        const auto count = recv(descriptor(), m_batch.data(), m_batch.size(), MSG_TRUNC);
        // A batch that does not fit the buffer is lost as well.
        if (count > static_cast<ssize_t>(m_batch.size()))
            return std::unexpected {ENOBUFS};
        if (count > 0)
            return std::span<const std::byte> {m_batch}.first(static_cast<std::size_t>(count));
        if (count == 0)
            return std::unexpected {EPIPE};
        if (errno != EINTR)
            return std::unexpected {errno};
    }
}

} // namespace kova
