// Owns a file descriptor.

#pragma once

#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace kova::tests {

class FileDescriptor {
public:
    FileDescriptor() = default;
    /// Takes over what a system call returned; throws when that says failure, with `what` in the message.
    FileDescriptor(int descriptor, const char* what)
        : m_descriptor(descriptor)
    {
        if (descriptor < 0)
            throw std::system_error(errno, std::generic_category(), what);
    }
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~FileDescriptor() { close(); }

    [[nodiscard]] int get() const { return m_descriptor; }
    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    void close()
    {
        if (isOpen())
            ::close(std::exchange(m_descriptor, -1));
    }

private:
    int m_descriptor = -1;
};

} // namespace kova::tests
