// A socket to the kernel's routing service (rtnetlink), for questions or for listening, never for both.
//
// It never blocks: the kernel answers a question while it is being sent, so the answer is there when the sending
// returns. Interrupted system calls are repeated here. Threads: one at a time.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <expected>
#include <initializer_list>
#include <memory>
#include <span>

struct mnl_socket;
struct nlmsghdr;

namespace kova {

class NetlinkSocket {
public:
    /// Opens a socket that hears the messages of these groups (RTNLGRP_…). A process that may not have one gets an
    /// object that is not open, and whose every operation fails.
    explicit NetlinkSocket(std::initializer_list<int> groups = {});

    /// Hears the messages of one more group; false, and no harm, where the kernel does not have it.
    bool join(int group);

    [[nodiscard]] bool isOpen() const { return m_socket != nullptr; }
    [[nodiscard]] int descriptor() const;

    /// Sends one request, numbered here, and returns the kernel's answer, which is valid until the next operation; or
    /// the error number (E…) that the kernel or a system call gave.
    [[nodiscard]] std::expected<const nlmsghdr*, int> ask(nlmsghdr& request);

    /// The next batch of messages, valid until the next operation; or EAGAIN when there is none now, ENOBUFS when some
    /// were lost, or another error number.
    [[nodiscard]] std::expected<std::span<const std::byte>, int> receive();

private:
    struct Close {
        void operator()(mnl_socket* socket) const;
    };

    static constexpr std::size_t largestBatch = std::size_t {32} * 1024;

    std::unique_ptr<mnl_socket, Close> m_socket;
    std::uint32_t m_sequence = 0;
    alignas(std::max_align_t) std::array<std::byte, largestBatch> m_batch;
};

} // namespace kova
