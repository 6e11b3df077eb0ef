#pragma once

#include <atomic>
#include <cstdint>

#include "ListenerLimits.h"
#include "Probe.h"
#include "ProbeEventSink.h"
#include "ProbePacket.h"
#include "ProbeWorker.h"
#include "SPW_CBackOff.h"
#include "SPW_CIpAddress.h"
#include "SPW_CSocket.h"
#include "SPW_CString.h"
#include "SPW_CThread.h"
#include "SocketLibrary.h"

// A receiver of probes on one local port: what TCP, UDP and multicast listeners share.
//
// The object's own thread waits for input and hands every received chunk to the packet parser. Probes go to the sink,
// on that thread, with the sender's address. A chunk that is no probe is dropped without a trace.
//
// One thread at a time constructs, starts, stops and destroys: the owner (see Probe). askToStop() closes the sockets,
// which wakes the wait in progress. StopListening() and the destructor do the same and then wait for the end of the
// step, which may be inside a call of the sink. A wait that a stop has woken reports nothing.
//
// A step that fails is repeated at once, and from the third failure in a row on after a pause that grows to a second. A
// stop ends the pause.
class ProbeListener : public SPW_CThread, public Probe {
public:
    ~ProbeListener() override;

    // 0, kProbeAlreadyRunning, or kProbeFailed when the port cannot be had or the listener has no thread
    // (GetLastErrorText() tells why).
    [[nodiscard]] SPW_Result StartListening();
    // Says that a stop comes, ends what blocks the step, and returns at once. An idle listener has nothing to end.
    void askToStop() override;
    // The same for a destruction. Nothing else may follow. May wait for the step, as Probe says.
    void askToEnd() override;
    // 0, or kProbeNotRunning. When it returns, no sink call is under way and none follows until the next start.
    [[nodiscard]] SPW_Result StopListening();
    // The listener's kind, " : " and the reason why the latest start failed or the latest stop was refused. Reading
    // empties the reason. The start of a listener that listens already leaves none. The owner's thread.
    SPW_CString GetLastErrorText();

    SPW_Result startProbe() override { return StartListening(); }
    SPW_Result stopProbe() override { return StopListening(); }
    SPW_CString failureText() override { return GetLastErrorText(); }

    void step() override {
        if (m_worker.mayStep(*this)) {
            listenStep();
        }
    }
    void finish() override { onThreadEnd(); }
    // Tells whether the object has a thread; without one it cannot be started.
    const ProbeWorker& worker() const override { return m_worker; }

protected:
    // reserved: false for every listener that there is.
    ProbeListener(ProbeEventSink* sink, ProbeKind kind, std::uint32_t port, bool needsListen, bool hasClients,
                  bool reserved, const ListenerLimits& limits);

    void listenStep();
    void onThreadEnd();

    virtual SPW_Socket createSocket() = 0;
    // Closes accepted connections. Called by the owner while a step may be in progress.
    virtual void closeClients() {}
    // Waits for one batch of input and handles it. Called on the listener's thread.
    virtual void receiveStep(SPW_Socket socket) = 0;

    // Ends the thread. Every derived class calls it first thing in its destructor, before its operations go.
    void endThread();

    // False as soon as a stop has been asked for.
    bool isListening() const { return m_state == 1 && !m_worker.isStopAsked(); }
    // Whether a call on the listener's thread has failed with this code because StopListening() or the destructor
    // closed its socket, just before the call or during it. That is no failure and never reported.
    bool isFromStop(SPW_Result code) const;
    // Hands a probe to the sink. chunk: count received bytes, with room for one more. sender: the text of the address,
    // or an SPW_CIpAddress, which becomes a text only for a probe.
    // Returns false if the chunk is no probe.
    template <typename Sender>
    bool handleChunk(char* chunk, int count, const Sender& sender) {
        ProbePacket::Received packet;
        if (!ProbePacket::parse(chunk, count, packet)) {
            return false;
        }
        deliver(asText(sender), packet);
        return true;
    }
    // Reports a failure with the words given.
    void report(const SPW_CString& address, SPW_Result code, const SPW_CString& message);
    // Says that the present step has failed, reported or not. What has no other effect would be repeated as fast as the
    // processor goes.
    void noteStepFailure() { m_hasStepFailed = true; }
    // A pause of the listener's thread, which a stop ends. 0: none.
    void pause(std::uint32_t milliseconds);

    // 1 while listening. Written by the owner, read by the thread.
    std::atomic<std::uint8_t> m_state{0};
    // Set when a destruction has been asked for, and first thing in the destructor of every derived class. A wait that
    // ends then has nothing to tell.
    std::atomic<bool> m_stopping{false};
    ProbeEventSink* const m_sink;
    const ProbeKind m_kind;
    const std::uint32_t m_port;
    const ListenerLimits m_limits;

private:
    static SPW_CString asText(const SPW_CIpAddress& address) { return address.toText(); }
    static const SPW_CString& asText(const SPW_CString& address) { return address; }
    void deliver(const SPW_CString& sender, const ProbePacket::Received& packet);
    SPW_Result refuseStart(const char16_t* failure, SPW_Socket socket);

    const bool m_needsListen;
    const bool m_hasClients;
    [[maybe_unused]] const bool m_reserved;

    // Shared: the owner sets and closes it, the thread uses it.
    std::atomic<SPW_Socket> m_socket{kInvalidSocket};
    std::atomic<bool> m_stopRequested{false};
    ProbeWorker m_worker;

    // The thread's.
    SPW_CBackOff m_backOff;
    bool m_hasStepFailed = false;

    // The owner's.
    SPW_CString m_lastErrorText;

    // Given back first when the object goes, after the end of the thread.
    SocketLibrary m_library;
};
