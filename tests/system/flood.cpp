// Sends packets that no receiver may count: random bytes, and probes with mistakes in them. Or sends good probes from
// senders that do not exist.
//
// usage: linkometry-flood udp ADDRESS PORT COUNT SEED [INTERFACE]   datagrams; INTERFACE: the one for a group's ADDRESS
//        linkometry-flood stream ADDRESS PORT COUNT SEED            one after another over a few TCP connections
//        linkometry-flood tcp ADDRESS PORT COUNT SEED               each over a TCP connection of its own
//        linkometry-flood senders ADDRESS PORT COUNT SECONDS        datagrams, each from an address of its own, of
//                                                                   11.0.0.0/8, evenly over that time
//
// The same seed makes the same packets. Written from the packet's description alone, like traffic.py.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <netinet/udp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <vector>

namespace {

const std::string kTag = "Vantiro Diagnostic";
// What a receiver takes at a time.
constexpr std::size_t kReceiveSize = 1000;
constexpr int kConnections = 16;
constexpr int kBatch = 64;
// Between two batches of datagrams, so that the receiver's buffer is not the limit all the time.
constexpr long kPauseNs = 100000;

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    std::exit(1);
}

// Length of the number field at offset 19, with which a packet of that size counts; 0 when it does not.
std::size_t numberLengthIfCounted(const std::string& packet) {
    const std::size_t size = std::min(packet.size(), kReceiveSize);
    if (size <= 19 || packet.compare(0, kTag.size(), kTag) != 0) {
        return 0;
    }
    const std::string text = packet.substr(19, size - 19);
    const std::string::size_type begin = text.find_first_not_of('|');
    if (begin == std::string::npos || text[begin] == '\0') {
        return 0;
    }
    const std::string::size_type end = std::min(text.find_first_of(std::string("|\0", 2), begin), text.size());
    return size > end - begin + 20 ? end - begin : 0;
}

class Generator {
public:
    explicit Generator(unsigned seed) : m_random(seed) {}

    // Any packet that a receiver must reject, of at most that size.
    std::string rejected(std::size_t limit) {
        std::string packet = any();
        packet.resize(std::min(packet.size(), limit));
        const std::size_t number = numberLengthIfCounted(packet);
        if (number == 0) {
            return packet;
        }
        if (below(2) == 0) {
            packet[below(kTag.size())] ^= static_cast<char>(1 + below(255));
        } else {
            packet.resize(std::min(packet.size(), number + 20));
        }
        return numberLengthIfCounted(packet) == 0 ? packet : packet.substr(0, 19);
    }

    // The same for a stream, where packets run together and a receiver's piece may begin anywhere: no piece of
    // it may look like a packet, so there is no whole tag in it, and none can come about where two of them meet.
    std::string rejectedInStream() {
        std::string packet = any();
        for (auto at = packet.find(kTag); at != std::string::npos; at = packet.find(kTag, at)) {
            packet[at + below(kTag.size())] ^= static_cast<char>(1 + below(255));
        }
        return packet + '\xff';
    }

private:
    std::size_t below(std::size_t limit) { return m_random() % limit; }

    std::string any() {
        switch (below(4)) {
            case 0:
                return randomBytes();
            case 1:
                return randomPieces();
            default:
                return mutatedProbe();
        }
    }

    std::string randomBytes() {
        std::string bytes(below(8) == 0 ? below(1400) : below(64), '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(below(256));
        }
        return bytes;
    }

    std::string randomPieces() {
        static const std::array<std::string, 10> kPieces = {
            kTag, "|", "||||", std::string(1, '\0'), "0", "-1", "99999999999999999999", "%s%n", "Vantiro", "\xe2\x82"};
        std::string text;
        for (std::size_t count = below(10); count > 0; --count) {
            text += kPieces[below(kPieces.size())];
        }
        return text;
    }

    std::string mutatedProbe() {
        std::string packet = kTag + '|' + std::to_string(static_cast<int>(m_random())) + '|';
        if (below(2) == 0) {
            packet += "Version 1.0.0.0|somebody" + std::string(below(40), '|');
        }
        packet += '\0';
        for (std::size_t count = 1 + below(4); count > 0; --count) {
            mutate(packet);
        }
        return packet;
    }

    void mutate(std::string& packet) {
        if (packet.empty()) {
            return;
        }
        const std::size_t at = below(packet.size());
        switch (below(5)) {
            case 0:
                packet[at] ^= static_cast<char>(1u << below(8));
                break;
            case 1:
                packet.erase(at, 1 + below(8));
                break;
            case 2:
                packet.insert(at, randomPieces());
                break;
            case 3:
                packet.resize(at);
                break;
            default:
                packet[at] = static_cast<char>(below(256));
        }
    }

    std::mt19937 m_random;
};

sockaddr_in addressOf(const char* text, const char* port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(std::atoi(port)));
    if (inet_pton(AF_INET, text, &address.sin_addr) != 1) {
        fail("address");
    }
    return address;
}

int connectTo(const sockaddr_in& address) {
    const int connection = socket(AF_INET, SOCK_STREAM, 0);
    if (connection < 0 || connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        fail("connect");
    }
    return connection;
}

void sendAll(int connection, const std::string& bytes) {
    for (std::size_t sent = 0; sent < bytes.size();) {
        const ssize_t count = send(connection, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count < 0) {
            fail("send");
        }
        sent += static_cast<std::size_t>(count);
    }
}

void floodWithDatagrams(Generator& generator, sockaddr_in address, int count, const char* interface) {
    const int sender = socket(AF_INET, SOCK_DGRAM, 0);
    in_addr outgoing{};
    if (interface != nullptr && (inet_pton(AF_INET, interface, &outgoing) != 1 ||
                                 setsockopt(sender, IPPROTO_IP, IP_MULTICAST_IF, &outgoing, sizeof outgoing) != 0)) {
        fail("interface");
    }
    std::vector<std::string> packets(kBatch);
    std::vector<iovec> pieces(kBatch);
    std::vector<mmsghdr> messages(kBatch);
    for (int done = 0; done < count;) {
        const int batch = std::min(kBatch, count - done);
        for (int i = 0; i < batch; ++i) {
            packets[i] = generator.rejected(1400);
            pieces[i] = {packets[i].data(), packets[i].size()};
            messages[i] = {};
            messages[i].msg_hdr.msg_name = &address;
            messages[i].msg_hdr.msg_namelen = sizeof address;
            messages[i].msg_hdr.msg_iov = &pieces[i];
            messages[i].msg_hdr.msg_iovlen = 1;
        }
        const int sent = sendmmsg(sender, messages.data(), static_cast<unsigned>(batch), 0);
        if (sent < 0) {
            fail("sendmmsg");
        }
        done += sent;
        const timespec pause = {0, kPauseNs};
        nanosleep(&pause, nullptr);
    }
    close(sender);
}

void floodStreams(Generator& generator, const sockaddr_in& address, int count) {
    std::vector<int> connections;
    connections.reserve(kConnections);
    for (int i = 0; i < kConnections; ++i) {
        connections.push_back(connectTo(address));
    }
    for (int done = 0; done < count; done += kBatch) {
        std::string bytes;
        for (int i = 0; i < kBatch; ++i) {
            bytes += generator.rejectedInStream();
        }
        sendAll(connections[static_cast<std::size_t>(done / kBatch % kConnections)], bytes);
    }
    for (const int connection : connections) {
        close(connection);
    }
}

void floodWithConnections(Generator& generator, const sockaddr_in& address, int count) {
    for (int done = 0; done < count; ++done) {
        const int connection = connectTo(address);
        sendAll(connection, generator.rejected(kReceiveSize));
        close(connection);
    }
}

// A datagram with both its headers. The kernel fills in the checksum of the first; that of the second may be 0.
std::string forgedDatagram(const sockaddr_in& target, std::uint32_t source, const std::string& probe) {
    iphdr outer{};
    outer.version = 4;
    outer.ihl = 5;
    outer.ttl = 64;
    outer.protocol = IPPROTO_UDP;
    outer.tot_len = htons(static_cast<std::uint16_t>(sizeof(iphdr) + sizeof(udphdr) + probe.size()));
    outer.saddr = htonl(source);
    outer.daddr = target.sin_addr.s_addr;
    udphdr inner{};
    inner.source = target.sin_port;
    inner.dest = target.sin_port;
    inner.len = htons(static_cast<std::uint16_t>(sizeof(udphdr) + probe.size()));
    std::string datagram(sizeof outer + sizeof inner, '\0');
    std::memcpy(datagram.data(), &outer, sizeof outer);
    std::memcpy(datagram.data() + sizeof outer, &inner, sizeof inner);
    return datagram + probe;
}

double secondsNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

void floodWithSenders(const sockaddr_in& address, int count, double seconds) {
    const int sender = socket(AF_INET, SOCK_RAW, IPPROTO_RAW);
    if (sender < 0) {
        fail("raw socket");
    }
    const std::string probe = kTag + "|1|Version 1.0.0.0|nobody||||" + '\0';
    const double start = secondsNow();
    for (int i = 0; i < count; ++i) {
        const std::string datagram =
            forgedDatagram(address, (std::uint32_t{11} << 24) + 257 + static_cast<std::uint32_t>(i), probe);
        if (sendto(sender, datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                   sizeof address) < 0) {
            fail("sendto");
        }
        const double ahead = start + seconds * i / count - secondsNow();
        if (ahead > 0.001) {
            const timespec pause = {0, static_cast<long>(std::min(ahead, 0.5) * 1e9)};
            nanosleep(&pause, nullptr);
        }
    }
    close(sender);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 6) {
        std::fputs("usage: linkometry-flood udp|stream|tcp|senders ADDRESS PORT COUNT SEED|SECONDS [INTERFACE]\n",
                   stderr);
        return 2;
    }
    const std::string how = argv[1];
    const sockaddr_in address = addressOf(argv[2], argv[3]);
    const int count = std::atoi(argv[4]);
    Generator generator(static_cast<unsigned>(std::atoi(argv[5])));
    if (how == "udp") {
        floodWithDatagrams(generator, address, count, argc > 6 ? argv[6] : nullptr);
    } else if (how == "senders") {
        floodWithSenders(address, count, std::atof(argv[5]));
    } else if (how == "stream") {
        floodStreams(generator, address, count);
    } else {
        floodWithConnections(generator, address, count);
    }
}
