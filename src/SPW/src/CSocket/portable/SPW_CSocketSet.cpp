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

bool SPW_CSocketSet::isReady(SPW_Socket socket) const {
    const int index = indexOf(socket);
    return index >= 0 && m_ready[index];
}
