#pragma once

// Puts an object in the place of one that the framework reaches through T::instance, as long as it lives:
//
//     ScriptedSocket sockets;
//     ScopedInstance<SPW_CSocket> installed(sockets);
//
// Threads that use T::instance are started after it and ended before it goes.
template <typename T>
class ScopedInstance {
public:
    explicit ScopedInstance(T& object) : m_replaced(T::instance) { T::instance = &object; }
    ~ScopedInstance() { T::instance = m_replaced; }
    ScopedInstance(const ScopedInstance&) = delete;
    ScopedInstance& operator=(const ScopedInstance&) = delete;

private:
    T* const m_replaced;
};
