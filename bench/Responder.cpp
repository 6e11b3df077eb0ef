#include "Responder.h"

#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace {

constexpr int kSequenceOffset = 19;  // behind the tag and its separator
constexpr int kQueueBytes = 4 * 1024 * 1024;

int openOn(int type) {
    const int descriptor = socket(AF_INET, type | SOCK_NONBLOCK, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(kProbePort);
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        giveUp("the far end's port");
    }
    return descriptor;
}

class Responder {
public:
    explicit Responder(int line) : m_line(line), m_poll(epoll_create1(0)), m_udp(openOn(SOCK_DGRAM)) {
        setsockopt(m_udp, SOL_SOCKET, SO_RCVBUFFORCE, &kQueueBytes, sizeof kQueueBytes);
        m_tcp = openOn(SOCK_STREAM);
        listen(m_tcp, 4096);
        watch(m_line);
        watch(m_udp);
        watch(m_tcp);
    }

    // Until the line is signalled.
    void serve() {
        epoll_event events[64];
        for (;;) {
            const int count = epoll_wait(m_poll, events, 64, -1);
            bool asked = false;
            for (int i = 0; i < count; ++i) {
                asked = take(events[i].data.fd) || asked;
            }
            if (asked) {
                return;
            }
        }
    }
    Heard heard() {
        const Heard result = m_heard;
        m_heard = Heard{};
        return result;
    }

private:
    void watch(int descriptor) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = descriptor;
        epoll_ctl(m_poll, EPOLL_CTL_ADD, descriptor, &event);
    }
    // True when it was the line.
    bool take(int descriptor) {
        if (descriptor == m_line) {
            return true;
        }
        if (descriptor == m_udp) {
            takeDatagrams();
        } else if (descriptor == m_tcp) {
            takeConnections();
        } else {
            takeStream(descriptor);
        }
        return false;
    }
    void takeDatagrams() {
        sockaddr_in source{};
        socklen_t size = sizeof source;
        while (recvfrom(m_udp, m_buffer, sizeof m_buffer - 1, 0, reinterpret_cast<sockaddr*>(&source), &size) > 0) {
            ++m_heard.udpProbes;
            follow(m_udpNext, source.sin_port);
        }
    }
    void takeConnections() {
        for (int client = accept4(m_tcp, nullptr, nullptr, SOCK_NONBLOCK); client != -1;
             client = accept4(m_tcp, nullptr, nullptr, SOCK_NONBLOCK)) {
            ++m_heard.connections;
            setNext(m_tcpNext, static_cast<std::size_t>(client), 0);
            watch(client);
        }
    }
    // A stream that brings two probes in one piece would count as a gap; with a period of a second none does.
    void takeStream(int client) {
        if (recv(client, m_buffer, sizeof m_buffer - 1, 0) <= 0) {
            close(client);
            return;
        }
        ++m_heard.tcpProbes;
        follow(m_tcpNext, static_cast<std::size_t>(client));
    }
    static void setNext(std::vector<long>& next, std::size_t sender, long value) {
        if (next.size() <= sender) {
            next.resize(sender + 1, 0);
        }
        next[sender] = value;
    }
    // A sender that begins again begins at 0.
    void follow(std::vector<long>& next, std::size_t sender) {
        const long sequence = std::strtol(m_buffer + kSequenceOffset, nullptr, 10);
        if (sender < next.size() && sequence > next[sender]) {
            m_heard.gaps += static_cast<std::uint64_t>(sequence - next[sender]);
        }
        setNext(next, sender, sequence + 1);
    }

    const int m_line;
    const int m_poll;
    const int m_udp;
    int m_tcp;
    char m_buffer[2048] = {};
    std::vector<long> m_udpNext;  // by source port
    std::vector<long> m_tcpNext;  // by descriptor
    Heard m_heard{};
};

}  // namespace

void runResponder(Line& line) {
    Responder responder(line.descriptor());
    line.signal();
    for (;;) {
        responder.serve();
        line.await();
        line.send(responder.heard());
    }
}
