#pragma once

#include <cstdint>

#include "ListenerLimits.h"
#include "SPW_CArray.h"
#include "SPW_CIpAddress.h"
#include "SPW_CSocket.h"

// A connection to a TCP listener, and what has come over it.
struct TcpClient {
    SPW_Socket socket = kInvalidSocket;
    SPW_CIpAddress address;
    std::uint64_t accepted100ns = 0;
    std::uint64_t lastProbe100ns = 0;  // 0: no probe yet
    bool isNoise = false;              // the latest chunk was no probe

    bool hasProbed() const { return lastProbe100ns != 0; }
};

// The connections to a TCP listener: who is watched, who waits, and who gives way to whom.
//
//     0 ........................ 62 | 63 ...............
//     watched, the oldest first     | waiting, the oldest first
//
// A connection that waits gets a place when a watched one goes, or when one gives way. A watched connection that has
// sent a probe lately never gives way. Two kinds do:
//
//     silent   no probe has come over it for the time of silence; it gives way to every newcomer
//     late     it has had its time for a first probe and has sent none, or something else; it gives way only to a
//              newcomer that has something to say
//
// An honest device sends its first probe at once. Late connections would otherwise keep it out for all their time of
// silence. Newcomers that say nothing would keep it out as well, if late ones gave way to them. Of several connections
// one gives way in this order, the oldest first:
// (a) an older connection of the newcomer's own address. The device has connected anew, or sits on its places.
// (b) a silent one.
// (c) a late one.
//
// Times are those of SPW_CClock::now100ns(). Threads: none; the owner locks.
class TcpClients {
public:
    // The listening socket has a place in the watch, too.
    static constexpr int kMostWatched = SPW_CSocketSet::kMaximum - 1;
    // The time for a first probe.
    static constexpr std::uint32_t kFirstProbeMs = 500;
    static constexpr int kNone = -1;

    explicit TcpClients(const ListenerLimits& limits) : m_limits(limits) {}

    int number() const { return m_clients.numberOfElements(); }
    int numberWatched() const { return number() < kMostWatched ? number() : kMostWatched; }
    const TcpClient& at(int index) const { return m_clients[index]; }

    void add(const TcpClient& client) { m_clients.append(client); }
    void removeAt(int index) { m_clients.removeElementAt(index); }
    void clear() { m_clients.clear(); }
    // The watched client that has this socket, or kNone.
    int watchedIndexOf(SPW_Socket socket) const;
    // A chunk has come from a watched client.
    void noteChunk(int index, bool isProbe, std::uint64_t now100ns);
    // Moves a waiting client to the last place that is watched. It must be free: whoever had it waits now.
    void moveToWatched(int index);

    // The watched client that gives way to the waiting one, or kNone. isSpeaking: the newcomer has something to read.
    // heard: the watched sockets that have something to read. They are spared until it is read, but for those whose
    // latest chunk was noise.
    int findGivingWay(int newcomer, bool isSpeaking, const SPW_CSocketSet& heard, std::uint64_t now100ns) const;
    // No probe has come for the time of silence from this client.
    bool isSilent(const TcpClient& client, std::uint64_t now100ns) const;

private:
    bool hasMissedFirstProbe(const TcpClient& client, std::uint64_t now100ns) const;

    const ListenerLimits m_limits;
    SPW_CArray<TcpClient> m_clients;
};
