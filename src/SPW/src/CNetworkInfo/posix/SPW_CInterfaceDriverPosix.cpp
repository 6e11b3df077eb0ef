#include "SPW_CInterfaceDriverPosix.h"

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

std::string SPW_InterfaceDriverPosix(const std::string& interfaceName) {
    ifreq request{};
    if (interfaceName.size() >= sizeof request.ifr_name) {
        return std::string();
    }
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor == -1) {
        return std::string();
    }
    ethtool_drvinfo info{};
    info.cmd = ETHTOOL_GDRVINFO;
    std::memcpy(request.ifr_name, interfaceName.data(), interfaceName.size());
    request.ifr_data = reinterpret_cast<char*>(&info);
    const bool isAnswered = ::ioctl(descriptor, SIOCETHTOOL, &request) == 0;
    (void)::close(descriptor);
    return isAnswered ? std::string(info.driver, ::strnlen(info.driver, sizeof info.driver)) : std::string();
}
