#include "Network.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "Child.h"

namespace {

int ownNetwork() {
    const int descriptor = open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC);
    if (descriptor == -1) {
        giveUp("/proc/self/ns/net");
    }
    return descriptor;
}

void enterNewNetwork() {
    if (unshare(CLONE_NEWNET) != 0) {
        giveUp("cannot make a network namespace (this needs root)");
    }
}

void run(const std::string& command) {
    if (std::system(command.c_str()) != 0) {
        std::fprintf(stderr, "linkometry-bench: failed: %s\n", command.c_str());
        std::exit(1);
    }
}

// Echo requests without privileges, as distributions allow them; a new namespace allows them to nobody.
void allowPing() {
    run("echo 0 2147483647 > /proc/sys/net/ipv4/ping_group_range");
}

}  // namespace

Network::Network() {
    enterNewNetwork();
    m_near = ownNetwork();
    Child farEnd(m_near, [](Line& line) {
        enterNewNetwork();
        line.signal();
        line.await();
        run("ip link set lo up && ip address add 10.199.0.2/24 dev far && ip link set far up && "
            "ip route add local 10.200.0.0/16 dev lo");
        line.signal();
        line.await();
    });
    farEnd.line().await();
    const std::string pid = std::to_string(farEnd.pid());
    m_far = open(("/proc/" + pid + "/ns/net").c_str(), O_RDONLY | O_CLOEXEC);
    run("ip link set lo up && ip link add near type veth peer name far netns " + pid);
    farEnd.line().signal();
    farEnd.line().await();
    run(std::string("ip address add ") + kNearAddress +
        "/24 dev near && ip link set near up && ip route add 10.200.0.0/16 via 10.199.0.2");
    allowPing();
    farEnd.line().signal();
    farEnd.join();
}

Network::~Network() {
    close(m_far);
    close(m_near);
}

std::string Network::peerAddress(int peer) {
    return "10.200." + std::to_string(peer / 250) + "." + std::to_string(peer % 250 + 1);
}
