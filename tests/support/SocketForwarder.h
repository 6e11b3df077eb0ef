#pragma once

#include "SPW_CSocket.h"

// Hands every call on to other sockets. A test derives from it and overrides the one call that it wants to be
// different: a join that fails on the second interface, a bind that counts.
class SocketForwarder : public SPW_CSocket {
public:
    explicit SocketForwarder(SPW_CSocket& target = *SPW_CSocket::instance) : m_target(target) {}

    SPW_Result startup() override { return m_target.startup(); }
    void cleanup() override { m_target.cleanup(); }

    SPW_Socket openTcp() override { return m_target.openTcp(); }
    SPW_Socket openUdp() override { return m_target.openUdp(); }
    SPW_Socket openUdpShared() override { return m_target.openUdpShared(); }
    int close(SPW_Socket socket) override { return m_target.close(socket); }

    int bind(SPW_Socket socket, std::uint16_t port) override { return m_target.bind(socket, port); }
    int localPort(SPW_Socket socket) override { return m_target.localPort(socket); }
    int listen(SPW_Socket socket, int backlog) override { return m_target.listen(socket, backlog); }
    SPW_Socket accept(SPW_Socket socket, SPW_CIpAddress& peer) override { return m_target.accept(socket, peer); }
    int connect(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port) override {
        return m_target.connect(socket, address, port);
    }

    int send(SPW_Socket socket, const void* bytes, int size) override { return m_target.send(socket, bytes, size); }
    bool tellUnanswered(SPW_Socket socket, SPW_Unanswered& unanswered) override {
        return m_target.tellUnanswered(socket, unanswered);
    }
    int sendTo(SPW_Socket socket, const SPW_CIpAddress& address, std::uint16_t port, const void* bytes,
               int size) override {
        return m_target.sendTo(socket, address, port, bytes, size);
    }
    int receive(SPW_Socket socket, void* buffer, int size) override { return m_target.receive(socket, buffer, size); }
    int receiveFrom(SPW_Socket socket, void* buffer, int size, SPW_CIpAddress& sender) override {
        return m_target.receiveFrom(socket, buffer, size, sender);
    }
    int select(SPW_CSocketSet* read, SPW_CSocketSet* except, std::uint32_t timeoutMs) override {
        return m_target.select(read, except, timeoutMs);
    }

    int setMulticastTtl(SPW_Socket socket, int ttl) override { return m_target.setMulticastTtl(socket, ttl); }
    int joinGroup(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress) override {
        return m_target.joinGroup(socket, group, interfaceAddress);
    }
    int dropGroup(SPW_Socket socket, const SPW_CIpAddress& group, const SPW_CIpAddress& interfaceAddress) override {
        return m_target.dropGroup(socket, group, interfaceAddress);
    }

    bool hostName(SPW_CString& name) override { return m_target.hostName(name); }
    bool resolve(const SPW_CString& name, SPW_CArray<SPW_CIpAddress>& addresses) override {
        return m_target.resolve(name, addresses);
    }
    SPW_Result lastError() override { return m_target.lastError(); }

protected:
    SPW_CSocket& target() { return m_target; }

private:
    SPW_CSocket& m_target;
};
