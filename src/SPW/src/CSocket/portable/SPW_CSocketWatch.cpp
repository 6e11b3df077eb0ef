#include "SPW_CSocketWatch.h"

std::unique_ptr<SPW_CSocketWatch> SPW_CSocket::openWatch() {
    return std::make_unique<SPW_CSocketWatch>(*this);
}

bool SPW_CSocketWatch::add(SPW_Socket socket) {
    return m_watched.add(socket);
}

bool SPW_CSocketWatch::remove(SPW_Socket socket) {
    return m_watched.remove(socket);
}

SPW_Result SPW_CSocketWatch::wait(SPW_CSocketSet& ready, std::uint32_t timeoutMs) {
    ready = SPW_CSocketSet();
    if (m_sockets.select(&m_watched, nullptr, timeoutMs) == -1) {
        return m_sockets.lastError();
    }
    collectReady(ready);
    return 0;
}

void SPW_CSocketWatch::collectReady(SPW_CSocketSet& ready) const {
    for (int i = 0; i < m_watched.size(); ++i) {
        if (m_watched.isReadyAt(i)) {
            ready.add(m_watched.at(i));
        }
    }
}
