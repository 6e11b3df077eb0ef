#include "BareProbes.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/ip_icmp.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/socket.h>
#include <time.h>

#include <atomic>
#include <cstring>

#include "Responder.h"
#include "Timing.h"

namespace {

constexpr std::size_t kStackBytes = 64 * 1024;
constexpr char kProbe[] = "Vantiro Diagnostic|0|Version 1.0.0.0|bare||||||||||";

struct Probe {
    int socket;
    sockaddr_in target;
    bool isPing;
    double periodSeconds;
};

int openTo(int type, int protocol, const sockaddr_in& target) {
    const int descriptor = socket(AF_INET, type, protocol);
    if (descriptor == -1 || connect(descriptor, reinterpret_cast<const sockaddr*>(&target), sizeof target) != 0) {
        giveUp("a bare probe's socket");
    }
    return descriptor;
}

void sendOnce(const Probe& probe) {
    if (!probe.isPing) {
        (void)send(probe.socket, kProbe, sizeof kProbe, MSG_NOSIGNAL);
        return;
    }
    char packet[sizeof(icmphdr) + 10] = {};
    packet[0] = ICMP_ECHO;
    (void)send(probe.socket, packet, sizeof packet, MSG_NOSIGNAL);
    (void)recv(probe.socket, packet, sizeof packet, 0);
}

void* runProbe(void* argument) {
    const Probe& probe = *static_cast<Probe*>(argument);
    for (;;) {
        const double due = nowSeconds() + probe.periodSeconds;
        sendOnce(probe);
        timespec until{};
        until.tv_sec = static_cast<time_t>(due);
        until.tv_nsec = static_cast<long>((due - static_cast<double>(until.tv_sec)) * 1e9);
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
    }
    return nullptr;
}

void startThread(pthread_t& thread, void* (*entry)(void*), void* argument) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kStackBytes);
    if (pthread_create(&thread, &attributes, entry, argument) != 0) {
        giveUp("a bare thread");
    }
    pthread_attr_destroy(&attributes);
}

sem_t gate;

void* runWaiter(void*) {
    sem_wait(&gate);
    return nullptr;
}

}  // namespace

void runBareProbes(const std::vector<std::string>& addresses, double periodSeconds, Line& line) {
    std::vector<Probe> probes;
    probes.reserve(addresses.size() * 3);
    for (const std::string& address : addresses) {
        sockaddr_in target{};
        target.sin_family = AF_INET;
        target.sin_port = htons(kProbePort);
        inet_pton(AF_INET, address.c_str(), &target.sin_addr);
        probes.push_back({openTo(SOCK_DGRAM, 0, target), target, false, periodSeconds});
        probes.push_back({openTo(SOCK_STREAM, 0, target), target, false, periodSeconds});
        probes.push_back({openTo(SOCK_DGRAM, IPPROTO_ICMP, target), target, true, periodSeconds});
    }
    for (Probe& probe : probes) {
        pthread_t thread;
        startThread(thread, runProbe, &probe);
        pthread_detach(thread);
    }
    line.signal();
    line.await();
}

ThreadTimes timeBareThreads(int count) {
    sem_init(&gate, 0, 0);
    std::vector<pthread_t> threads(static_cast<std::size_t>(count));
    const double begin = nowSeconds();
    for (pthread_t& thread : threads) {
        startThread(thread, runWaiter, nullptr);
    }
    const double created = nowSeconds();
    for (int i = 0; i < count; ++i) {
        sem_post(&gate);
    }
    for (const pthread_t& thread : threads) {
        pthread_join(thread, nullptr);
    }
    return {created - begin, nowSeconds() - created};
}
