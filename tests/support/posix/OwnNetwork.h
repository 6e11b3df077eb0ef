#pragma once

#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

// A network namespace of the test's own, with nothing in it but a loopback interface that is up. The thread that makes
// the object, and those that it starts from then on, live there until the object goes. Where the machine does not
// allow that, isThere() is false and reason() says why:
//
//     OwnNetwork network;
//     SKIP_OUTSIDE_NAMESPACES(network.isThere(), network.reason());
class OwnNetwork {
public:
    OwnNetwork() {
        m_before = ::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC);
        if (::unshare(CLONE_NEWNET) != 0) {
            m_reason = std::string("no network namespace may be made here: ") + std::strerror(errno);
            return;
        }
        m_isThere = setLoopback(true);
    }
    ~OwnNetwork() {
        if (m_before != -1) {
            (void)::setns(m_before, CLONE_NEWNET);
            (void)::close(m_before);
        }
    }
    OwnNetwork(const OwnNetwork&) = delete;
    OwnNetwork& operator=(const OwnNetwork&) = delete;

    bool isThere() const { return m_isThere; }
    const std::string& reason() const { return m_reason; }

    // Switches the loopback interface on or off.
    bool setLoopback(bool up) {
        const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        ifreq request{};
        std::strcpy(request.ifr_name, "lo");
        request.ifr_flags = up ? IFF_UP | IFF_RUNNING : 0;
        const bool done = ::ioctl(descriptor, SIOCSIFFLAGS, &request) == 0;
        if (!done) {
            m_reason = std::string("the loopback interface cannot be switched: ") + std::strerror(errno);
        }
        (void)::close(descriptor);
        return done;
    }
    // An interface of this name with this address ("10.79.0.1/24"), up and connected to nothing, in place of one that
    // there may be already. It has an index that none had before.
    bool replaceInterface(const std::string& name, const std::string& address) {
        (void)runIp("link delete " + name);  // the first time there is none
        return runIp("link add " + name + " type veth peer name " + name + "x") &&
               runIp("address add " + address + " dev " + name) && runIp("link set " + name + " up");
    }
    bool runIp(const std::string& arguments) {
        const bool done = std::system(("ip " + arguments + " 2>/dev/null").c_str()) == 0;
        if (!done) {
            m_reason = "\"ip " + arguments + "\" failed";
        }
        return done;
    }
    // Sets a value below /proc/sys/net of this namespace.
    bool setKernel(const std::string& name, const std::string& value) {
        std::ofstream file("/proc/sys/net/" + name);
        file << value << std::flush;
        if (!file) {
            m_reason = "/proc/sys/net/" + name + " cannot be written";
        }
        return static_cast<bool>(file);
    }

private:
    int m_before = -1;
    bool m_isThere = false;
    std::string m_reason;
};
