#include "Fuzz/Support/LoopbackOnly.h"

#include "Fuzz/Fuzzing.h"

#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string_view>

namespace kova::fuzz {

bool enterLoopbackOnly()
{
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        return false;
    const int socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request {};
    std::string_view {"lo"}.copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    require(ioctl(socket, SIOCSIFFLAGS, &request) == 0);
    close(socket);
    return true;
}

} // namespace kova::fuzz
