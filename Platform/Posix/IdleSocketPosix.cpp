#include "Platform/Libraries/IdleSocket.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>

namespace kova {

bool isReadable(int socket)
{
    pollfd waiting {.fd = socket, .events = POLLIN, .revents = 0};
    return poll(&waiting, 1, 0) != 0;
}

void endReading(int socket)
{
    shutdown(socket, SHUT_RD);
    std::array<char, 65'536> ignored;
    while (recv(socket, ignored.data(), ignored.size(), MSG_DONTWAIT) > 0) { }
}

void closeSocket(int socket)
{
    close(socket);
}

} // namespace kova
