#pragma once

#include <cstdint>

#include "SPW_CObject.h"
#include "SPW_CSocket.h"

// The sockets on which one thread waits for input again and again.
//
// A select() looks at all of its sockets when it begins and again when it is woken. A watch keeps its sockets. Where
// the platform tells which of them have become ready, a wait beside many quiet connections costs as much as a wait
// beside none. Elsewhere a watch selects. Both kinds behave the same.
//
// SPW_CSocket::openWatch() makes one. Threads: one thread at a time uses and destroys it; any thread may close the
// sockets. A watch does not own its sockets. Its SPW_CSocket outlives it.
class SPW_CSocketWatch : public SPW_CObject {
public:
    // A watch that selects.
    explicit SPW_CSocketWatch(SPW_CSocket& sockets) : m_sockets(sockets) {}
    SPW_CSocketWatch(const SPW_CSocketWatch&) = delete;
    SPW_CSocketWatch& operator=(const SPW_CSocketWatch&) = delete;

    // Adds a socket behind the others. False, and nothing happens, when it is present or there are
    // SPW_CSocketSet::kMaximum already. A socket that is closed can be added; the next wait tells it.
    virtual bool add(SPW_Socket socket);
    // Takes a socket out; the others keep their order. False when it is not there.
    virtual bool remove(SPW_Socket socket);
    // Waits up to timeoutMs (kSPWForever: without limit; 0: not at all) until there is something to receive or to
    // accept on a socket, or an end or an error to be told by receive or accept. ready then holds those sockets, in the
    // order of their adding; none when the time is up. A socket stays ready until it has been dealt with.
    //
    // 0, or a code, with ready empty: kSockInvalid when there is nothing to wait for, kSockNotSocket when one of the
    // sockets is closed. Closing one wakes a wait in progress. Every wait fails until the closed socket is removed.
    // While close() has not returned, its socket may still be told as ready: an end, which receive tells.
    [[nodiscard]] virtual SPW_Result wait(SPW_CSocketSet& ready, std::uint32_t timeoutMs);
    // Without limit: ready holds at least one.
    [[nodiscard]] SPW_Result wait(SPW_CSocketSet& ready) { return wait(ready, kSPWForever); }

protected:
    // Fills ready with the sockets that are marked as ready.
    void collectReady(SPW_CSocketSet& ready) const;

    // Marked by a wait with what it found.
    SPW_CSocketSet m_watched;

private:
    SPW_CSocket& m_sockets;
};
