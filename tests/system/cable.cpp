// A cable between two interfaces that a test can make slow or deaf:
//
//     linkometry-cable INTERFACE INTERFACE
//
// Carries every frame from one interface to the other, unchanged and in order. "there" is from the first to the second,
// "back" the other way. Commands come by standard input, one a line; each is answered with the same line when it holds.
//
//     there delay MICROSECONDS     frames arrive that much later
//     there lose PROTOCOL          IPv4 packets of that protocol number get lost; 0: every frame
//     there carry                  nothing gets lost
//
// It ends with its standard input.

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr std::int64_t kNsPerSecond = 1000000000;
constexpr std::size_t kLargestFrame = 65536 + 64;
// The kernel leaves checksums and cutting to the sending interface. What is left to do stands before each frame.
constexpr std::size_t kLeftToDo = 10;
constexpr std::size_t kTypeAt = kLeftToDo + 12;
constexpr std::size_t kProtocolAt = kLeftToDo + ETH_HLEN + 9;
constexpr int kNothing = -1;

[[noreturn]] void fail(const std::string& what) {
    std::cerr << what << ": " << std::strerror(errno) << '\n';
    std::exit(1);
}

std::int64_t nowNs() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kNsPerSecond + now.tv_nsec;
}

// A socket that receives what comes to the interface and not what leaves by it.
int openInterface(const char* name) {
    const int descriptor = ::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int on = 1;
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = static_cast<int>(::if_nametoindex(name));
    if (descriptor == -1 || ::setsockopt(descriptor, SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on) != 0 ||
        ::setsockopt(descriptor, SOL_PACKET, PACKET_VNET_HDR, &on, sizeof on) != 0 || address.sll_ifindex == 0 ||
        ::bind(descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        fail(name);
    }
    return descriptor;
}

// One direction of the cable.
class Direction {
public:
    Direction(int from, int to) : m_from(from), m_to(to) {}

    void delay(std::int64_t microseconds) { m_delayNs = microseconds * 1000; }
    void lose(int protocol) { m_lost = protocol; }

    // Takes what has come, and sends on what is due.
    void work() {
        static std::vector<std::uint8_t> frame(kLargestFrame);
        ssize_t size = 0;
        while ((size = ::recv(m_from, frame.data(), frame.size(), 0)) > 0) {
            const auto length = static_cast<std::size_t>(size);
            if (!isLost(frame, length)) {
                m_under.push_back({nowNs() + m_delayNs, {frame.begin(), frame.begin() + size}});
            }
        }
        while (!m_under.empty() && m_under.front().dueNs <= nowNs()) {
            const std::vector<std::uint8_t>& first = m_under.front().bytes;
            (void)::send(m_to, first.data(), first.size(), 0);  // an interface that is down loses it
            m_under.pop_front();
        }
    }
    // When there is something to send on; the greatest number when there is nothing.
    std::int64_t dueNs() const { return m_under.empty() ? INT64_MAX : m_under.front().dueNs; }

private:
    struct Frame {
        std::int64_t dueNs;
        std::vector<std::uint8_t> bytes;
    };

    bool isLost(const std::vector<std::uint8_t>& frame, std::size_t size) const {
        const bool isIp = size > kProtocolAt && frame[kTypeAt] == 8 && frame[kTypeAt + 1] == 0;
        return m_lost == 0 || (isIp && frame[kProtocolAt] == m_lost);
    }

    const int m_from;
    const int m_to;
    std::int64_t m_delayNs = 0;
    int m_lost = kNothing;
    std::deque<Frame> m_under;
};

void obey(const std::string& line, Direction& there, Direction& back) {
    std::istringstream words(line);
    std::string direction;
    std::string verb;
    std::int64_t number = 0;
    words >> direction >> verb >> number;
    Direction& meant = direction == "there" ? there : back;
    if (verb == "delay") {
        meant.delay(number);
    } else {
        meant.lose(verb == "lose" ? static_cast<int>(number) : kNothing);
    }
    std::cout << line << std::endl;
}

// False at the end of the commands.
bool readCommands(Direction& there, Direction& back) {
    static std::string unread;
    char bytes[256];
    const ssize_t size = ::read(STDIN_FILENO, bytes, sizeof bytes);
    unread.append(bytes, size > 0 ? static_cast<std::size_t>(size) : 0);
    for (std::size_t end = 0; (end = unread.find('\n')) != std::string::npos; unread.erase(0, end + 1)) {
        obey(unread.substr(0, end), there, back);
    }
    return size > 0;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::cerr << "usage: linkometry-cable INTERFACE INTERFACE\n";
        return 2;
    }
    (void)::prctl(PR_SET_TIMERSLACK, 1UL);
    // A frame goes before all other work. Where that is refused, a busy machine holds frames up.
    const sched_param lowest{1};
    (void)::sched_setscheduler(0, SCHED_FIFO, &lowest);
    const int first = openInterface(arguments[1]);
    const int second = openInterface(arguments[2]);
    Direction there(first, second);
    Direction back(second, first);
    std::cout << "ready" << std::endl;
    pollfd entries[] = {{STDIN_FILENO, POLLIN, 0}, {first, POLLIN, 0}, {second, POLLIN, 0}};
    for (;;) {
        const std::int64_t due = std::min(there.dueNs(), back.dueNs());
        const std::int64_t left = due == INT64_MAX ? INT64_MAX : std::max<std::int64_t>(due - nowNs(), 0);
        const timespec limit{left / kNsPerSecond, left % kNsPerSecond};
        (void)::ppoll(entries, 3, due == INT64_MAX ? nullptr : &limit, nullptr);
        if (entries[0].revents != 0 && !readCommands(there, back)) {
            return 0;
        }
        there.work();
        back.work();
    }
}
