#include <algorithm>

#include "SPW_CSocket.h"

int SPW_CSocketSet::indexOf(SPW_Socket socket) const {
    for (int i = 0; i < m_size; ++i) {
        if (m_sockets[i] == socket) {
            return i;
        }
    }
    return -1;
}

bool SPW_CSocketSet::add(SPW_Socket socket) {
    if (m_size == kMaximum || indexOf(socket) >= 0) {
        return false;
    }
    m_sockets[m_size] = socket;
    m_ready[m_size] = false;
    ++m_size;
    return true;
}

bool SPW_CSocketSet::remove(SPW_Socket socket) {
    const int index = indexOf(socket);
    if (index < 0) {
        return false;
    }
    std::move(m_sockets + index + 1, m_sockets + m_size, m_sockets + index);
    std::move(m_ready + index + 1, m_ready + m_size, m_ready + index);
    --m_size;
    return true;
}

void SPW_CSocketSet::markReady(SPW_Socket socket) {
    const int index = indexOf(socket);
    if (index >= 0) {
        m_ready[index] = true;
    }
}

void SPW_CSocketSet::clearReady() {
    std::fill(m_ready, m_ready + m_size, false);
}

bool SPW_CSocketSet::isReady(SPW_Socket socket) const {
    const int index = indexOf(socket);
    return index >= 0 && m_ready[index];
}
