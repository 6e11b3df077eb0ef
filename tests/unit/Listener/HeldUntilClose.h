#pragma once

#include <condition_variable>
#include <mutex>

#include "SocketForwarder.h"

// Sockets with one call that holds its thread until another thread closes a socket, as a stop does. A derived class
// says which call.
class HeldUntilClose : public SocketForwarder {
public:
    using SocketForwarder::SocketForwarder;
    int close(SPW_Socket socket) override {
        const int result = SocketForwarder::close(socket);
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_closed = true;
        m_changed.notify_all();
        return result;
    }
    void waitUntilHeld() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_held; });
    }

protected:
    void hold() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_held = true;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_closed; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_held = false;
    bool m_closed = false;
};
