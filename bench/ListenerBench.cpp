#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cstring>
#include <vector>

#include "Benches.h"
#include "Child.h"
#include "Hive.h"
#include "Responder.h"
#include "TestEngine.h"
#include "Timing.h"

namespace {

constexpr int kBatch = 64;
constexpr std::size_t kDatagramBytes = 60;
constexpr double kPaceSeconds = 0.0002;

sockaddr_in nearPort() {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(kProbePort);
    inet_pton(AF_INET, Network::kNearAddress, &address.sin_addr);
    return address;
}

// The probe of that number, filled up to kDatagramBytes with the padding that announcements have.
void compose(char* datagram, std::uint32_t sequence) {
    std::memset(datagram, '|', kDatagramBytes);
    const int length = std::snprintf(datagram, kDatagramBytes, "Vantiro Diagnostic|%u|Version 1.0.0.0|bench", sequence);
    datagram[length] = '|';
    datagram[kDatagramBytes - 1] = '\0';
}

// Sends probes as fast as the kernel takes them until the process is killed.
void flood(Line& line) {
    const int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
    const sockaddr_in target = nearPort();
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&target), sizeof target) != 0) {
        giveUp("the sender's socket");
    }
    static char datagrams[kBatch][kDatagramBytes];
    iovec pieces[kBatch];
    mmsghdr messages[kBatch] = {};
    for (int i = 0; i < kBatch; ++i) {
        pieces[i] = {datagrams[i], kDatagramBytes};
        messages[i].msg_hdr.msg_iov = &pieces[i];
        messages[i].msg_hdr.msg_iovlen = 1;
    }
    line.signal();
    for (std::uint32_t sequence = 0;;) {
        for (auto& datagram : datagrams) {
            compose(datagram, sequence++);
        }
        (void)sendmmsg(descriptor, messages, kBatch, 0);
    }
}

int connectToNear() {
    const int descriptor = socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in target = nearPort();
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&target), sizeof target) != 0) {
        giveUp("a connection to the listener");
    }
    return descriptor;
}

// Sends one probe after another over the oldest of its connections, slowly enough for each to be received alone, until
// the process is killed.
void sendBesideIdle(int idleConnections, Line& line) {
    const int descriptor = connectToNear();
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    for (int i = 0; i < idleConnections; ++i) {
        (void)connectToNear();  // open as long as the process lives
    }
    line.signal();
    for (std::uint32_t sequence = 0;; ++sequence) {
        char probe[kDatagramBytes];
        compose(probe, sequence);
        if (send(descriptor, probe, sizeof probe, MSG_NOSIGNAL) == -1) {
            giveUp("the sender's connection");
        }
        sleepSeconds(kPaceSeconds);
    }
}

// A receiver says when it is ready, and its count whenever it is asked.

void receiveBare(Line& line) {
    const int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
    const sockaddr_in own = nearPort();
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0) {
        giveUp("the bare receiver's port");
    }
    line.signal();
    char buffer[1024];
    std::uint64_t count = 0;
    for (;;) {
        sockaddr_in source{};
        socklen_t size = sizeof source;
        if (recvfrom(descriptor, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr*>(&source), &size) > 0) {
            ++count;
        }
        char request;
        if (count % 1024 == 0 && recv(line.descriptor(), &request, 1, MSG_DONTWAIT) == 1) {
            line.send(count);
        }
    }
}

// The same over the first connection that comes.
void receiveBareStream(Line& line) {
    const int listening = socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    setsockopt(listening, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in own = nearPort();
    if (bind(listening, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0 || listen(listening, 1) != 0) {
        giveUp("the bare receiver's port");
    }
    line.signal();
    const int descriptor = accept(listening, nullptr, nullptr);
    char buffer[1024];
    for (std::uint64_t count = 0;;) {
        count += recv(descriptor, buffer, sizeof buffer, 0) > 0 ? 1 : 0;
        char request;
        if (count % 64 == 0 && recv(line.descriptor(), &request, 1, MSG_DONTWAIT) == 1) {
            line.send(count);
        }
    }
}

class NoSink final : public UiSink {
public:
    void rowChanged(const PeerRowValues&, int) override {}
};

// kind: kUdp or kTcpip, whose listener is measured.
void receiveWithEngine(const Folder& folder, int kind, Line& line) {
    const char* const unused = kind == kUdp ? "\"tcpip selected\"=\"no\"" : "\"udp selected\"=\"no\"";
    useSettings(folder, {unused, "\"ping selected\"=\"no\""}, {});
    NoSink sink;
    TestEngine engine(&sink, true);
    engine.start();
    line.signal();
    for (;;) {
        line.await();
        SPW_CArray<PeerRowValues> rows;
        engine.snapshot(rows);
        std::uint64_t count = 0;
        for (int i = 0; i < rows.numberOfElements(); ++i) {
            count += static_cast<std::uint64_t>(rows[i].counts[kind].received);
        }
        line.send(count);
    }
}

struct Rate {
    double perSecond;
    double perProcessorSecond;
};

// Both are medians over the repetitions.
Rate measure(const Network& network, const Effort& effort, const std::function<void(Line&)>& receiver,
             const std::function<void(Line&)>& sender) {
    Child receiving(network.near(), receiver);
    receiving.line().await();
    Child sending(network.far(), sender);
    sending.line().await();
    sleepSeconds(0.3);
    std::vector<double> perSecond;
    std::vector<double> perProcessorSecond;
    const auto sample = [&](double& time, double& processor) {
        receiving.line().signal();
        const std::uint64_t count = receiving.line().receive<std::uint64_t>();
        time = nowSeconds();
        processor = processorSecondsOf(receiving.pid());
        return static_cast<double>(count);
    };
    double time = 0;
    double processor = 0;
    double count = sample(time, processor);
    for (int i = 0; i < effort.repetitions; ++i) {
        sleepSeconds(effort.seconds);
        double nextTime = 0;
        double nextProcessor = 0;
        const double nextCount = sample(nextTime, nextProcessor);
        perSecond.push_back((nextCount - count) / (nextTime - time));
        perProcessorSecond.push_back((nextCount - count) / (nextProcessor - processor));
        count = nextCount;
        time = nextTime;
        processor = nextProcessor;
    }
    return {medianOf(perSecond), medianOf(perProcessorSecond)};
}

void benchUdp(const Network& network, const Folder& folder, const Effort& effort, Report& report) {
    report.section("UDP listener: probes of 60 bytes received, parsed and counted; limit: a bare recvfrom loop");
    const Rate bare = measure(network, effort, receiveBare, flood);
    const Rate listener = measure(
        network, effort, [&](Line& line) { receiveWithEngine(folder, kUdp, line); }, flood);
    const double ratio = listener.perSecond / bare.perSecond;
    report.add("probes per second", Report::text("%.0f", listener.perSecond), Report::text("%.0f", bare.perSecond),
               ratio, "ratio >= 0.7", ratio >= 0.7);
    report.add("probes per processor second", Report::text("%.0f", listener.perProcessorSecond),
               Report::text("%.0f", bare.perProcessorSecond), listener.perProcessorSecond / bare.perProcessorSecond, "",
               true);
}

void benchTcp(const Network& network, const Folder& folder, const Effort& effort, Report& report) {
    report.section("TCP listener: processor time of a probe beside idle connections; limit: a bare recv loop");
    const auto microseconds = [](const Rate& rate) { return 1e6 / rate.perProcessorSecond; };
    const double bare =
        microseconds(measure(network, effort, receiveBareStream, [](Line& line) { sendBesideIdle(0, line); }));
    double alone = 0;
    for (const int idle : {0, 63, 1000}) {
        const double reached = microseconds(measure(
            network, effort, [&](Line& line) { receiveWithEngine(folder, kTcpip, line); },
            [idle](Line& line) { sendBesideIdle(idle, line); }));
        alone = idle == 0 ? reached : alone;
        report.add("microseconds a probe, " + std::to_string(idle) + " idle", Report::text("%.1f", reached),
                   Report::text("%.1f", bare), reached / bare, idle == 0 ? "" : "with 0 idle + 25 %",
                   reached <= alone * 1.25);
    }
}

}  // namespace

void benchListener(const Network& network, const Folder& folder, const Effort& effort, Report& report) {
    benchUdp(network, folder, effort, report);
    benchTcp(network, folder, effort, report);
}
