#include "TcpClients.h"

#include <algorithm>

static const std::uint64_t k100nsPerMs = 10000;
// A device that has sent may miss so many periods before it counts as silent.
static const std::uint64_t kMissedPeriods = 3;

int TcpClients::watchedIndexOf(SPW_Socket socket) const {
    for (int i = 0; i < numberWatched(); ++i) {
        if (m_clients[i].socket == socket) {
            return i;
        }
    }
    return kNone;
}

void TcpClients::noteChunk(int index, bool isProbe, std::uint64_t now100ns) {
    TcpClient& client = m_clients[index];
    client.isNoise = !isProbe;
    if (isProbe) {
        client.lastProbe100ns = now100ns;
    }
}

void TcpClients::moveToWatched(int index) {
    const TcpClient client = m_clients[index];
    m_clients.removeElementAt(index);
    m_clients.insertElementAt(kMostWatched - 1, client);
}

int TcpClients::findGivingWay(int newcomer, bool isSpeaking, const SPW_CSocketSet& heard,
                              std::uint64_t now100ns) const {
    int silent = kNone;
    int late = kNone;
    for (int i = 0; i < numberWatched(); ++i) {
        const TcpClient& client = m_clients[i];
        const bool isLate = isSpeaking && hasMissedFirstProbe(client, now100ns);
        if ((!isLate && !isSilent(client, now100ns)) || (heard.contains(client.socket) && !client.isNoise)) {
            continue;
        }
        if (client.address == m_clients[newcomer].address &&
            client.accepted100ns <= m_clients[newcomer].accepted100ns) {
            return i;
        }
        if (silent == kNone && isSilent(client, now100ns)) {
            silent = i;
        }
        if (late == kNone && isLate) {
            late = i;
        }
    }
    return silent == kNone ? late : silent;
}

bool TcpClients::isSilent(const TcpClient& client, std::uint64_t now100ns) const {
    if (!client.hasProbed()) {
        return now100ns - client.accepted100ns >= m_limits.silenceMs * k100nsPerMs;
    }
    const std::uint64_t patienceMs = std::max<std::uint64_t>(m_limits.silenceMs, m_limits.periodMs * kMissedPeriods);
    return now100ns - client.lastProbe100ns >= patienceMs * k100nsPerMs;
}

bool TcpClients::hasMissedFirstProbe(const TcpClient& client, std::uint64_t now100ns) const {
    return !client.hasProbed() && (client.isNoise || now100ns - client.accepted100ns >= kFirstProbeMs * k100nsPerMs);
}
