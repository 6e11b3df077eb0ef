#pragma once

#include "SPW_CSocket.h"

// Holds the platform's socket library for as long as the object lives. When the library cannot be had, every socket
// operation of the holder fails, and is reported where it does.
class SocketLibrary {
public:
    SocketLibrary() : m_held(SPW_CSocket::instance->startup() == 0) {}
    ~SocketLibrary() {
        if (m_held) {
            SPW_CSocket::instance->cleanup();
        }
    }
    SocketLibrary(const SocketLibrary&) = delete;
    SocketLibrary& operator=(const SocketLibrary&) = delete;

private:
    const bool m_held;
};
