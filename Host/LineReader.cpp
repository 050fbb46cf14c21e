#include "Host/LineReader.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

namespace kova::host {

LineReader::LineReader(int descriptor, int interruption)
    : m_descriptor(descriptor)
    , m_interruption(interruption)
{
}

std::optional<std::string> LineReader::next()
{
    while (true) {
        const auto end = m_pending.find('\n', m_searched);
        if (end != std::string::npos) {
            auto line = m_pending.substr(0, end);
            m_pending.erase(0, end + 1);
            m_searched = 0;
            return line;
        }
        m_searched = m_pending.size();
        if (m_isAtEnd || !readMore()) {
            if (m_pending.empty() || !m_isAtEnd)
                return std::nullopt;
            return std::exchange(m_pending, {});
        }
    }
}

bool LineReader::readMore()
{
    std::array waited {pollfd {.fd = m_descriptor, .events = POLLIN, .revents = 0},
        pollfd {.fd = m_interruption, .events = POLLIN, .revents = 0}};
    while (poll(waited.data(), waited.size(), -1) < 0) {
        if (errno != EINTR)
            return false;
    }
    if (waited[1].revents != 0)
        return false;
    std::array<char, 65'536> chunk {};
    const auto count = read(m_descriptor, chunk.data(), chunk.size());
    if (count < 0) {
        if (errno == EINTR || errno == EAGAIN)
            return true;
        throw std::system_error {errno, std::generic_category(), "cannot be read"};
    }
    m_isAtEnd = count == 0;
    m_pending.append(chunk.data(), static_cast<std::size_t>(count));
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (m_isAtBeginning && (m_isAtEnd || m_pending.size() >= byteOrderMark.size())) {
        m_isAtBeginning = false;
        if (m_pending.starts_with(byteOrderMark))
            m_pending.erase(0, byteOrderMark.size());
    }
    return true;
}

} // namespace kova::host
