#pragma once

#include <atomic>
#include <cstdint>

#include "OutWatch.h"
#include "Probe.h"
#include "ProbeEventSink.h"
#include "ProbeSchedule.h"
#include "ProbeWorker.h"
#include "SPW_CIpAddress.h"
#include "SPW_CSocket.h"
#include "SPW_CString.h"
#include "SPW_CThread.h"
#include "SocketLibrary.h"

// A sender of probes to one address: the socket, the schedule, the sequence number and the sending step that TCP,
// UDP and multicast connectors share.
//
// The object's own thread runs the step over and over while sending is switched on. It reports everything to the sink,
// and beside that every change in how what it sends gets on.
// After a socket failure it makes a new socket one period later, without limit. Only the owner stops a connector.
//
// One thread at a time constructs, starts, stops and destroys: the owner (see Probe). askToStop() closes the socket and
// so ends a connect or send in progress; it ends a sleep, too. StopSending() and the destructor ask as well and wait
// for the step to end: for one sink call at most.
class ProbeConnector : public SPW_CThread, public Probe {
public:
    ~ProbeConnector() override;

    // 0, kProbeAlreadyRunning, or kProbeFailed when the connector has no thread (GetLastErrorText() tells why). The
    // first probe goes out at once.
    [[nodiscard]] SPW_Result StartSending();
    // Says that a stop comes and ends what blocks the step. Returns at once. An owner that stops many connectors asks
    // all of them first. An idle connector ignores it.
    void askToStop() override;
    // The same for a destruction. Nothing but the destruction may follow. May wait for the step, as Probe says.
    void askToEnd() override;
    // 0, or kProbeNotRunning. When it returns, no sink call is under way and none follows until the next start.
    // The closed socket stays in use, deliberately: the first probe after a restart fails with "not a socket", is
    // reported, and only then is a new socket made. Observers count on this one failed probe per restart.
    [[nodiscard]] SPW_Result StopSending();
    // Why a start failed or a stop was refused; empty as long as none was. A second start leaves no text. The owner's
    // thread.
    SPW_CString GetLastErrorText() const { return m_lastErrorText; }

    SPW_Result startProbe() override { return StartSending(); }
    SPW_Result stopProbe() override { return StopSending(); }
    SPW_CString failureText() override { return GetLastErrorText(); }

    void step() override {
        if (m_worker.mayStep(*this)) {
            sendStep();
        }
    }
    void finish() override { onThreadEnd(); }
    // Tells whether the object has a thread; without one it cannot be started.
    const ProbeWorker& worker() const override { return m_worker; }

protected:
    ProbeConnector(ProbeKind kind, ProbeEventSink* sink, const SPW_CString& targetAddress, std::uint32_t targetPort,
                   const SPW_CString& name, std::int32_t periodMs, std::int32_t ttl, bool needsConnect, bool needsTtl);

    // Sends at most one probe, or sleeps.
    void sendStep();
    void onThreadEnd();

    // The transport. Called on the connector's thread, in this order. Every int result is -1 on failure, with the
    // code in SPW_CSocket's lastError(); a result that is a code is 0 on success.
    virtual SPW_Socket createSocket() = 0;
    virtual int sendProbe(SPW_Socket socket, const SPW_CString& address, std::uint32_t port, const void* bytes,
                          int length) = 0;
    // The two below fail unless overridden, on purpose: a connector whose flags ask for an operation that it does
    // not have fails loudly at every attempt.
    virtual SPW_Result setTtl(SPW_Socket socket, std::int32_t ttl);
    virtual int connectSocket(SPW_Socket socket, const SPW_CString& address, std::uint32_t port);

    // Ends the thread. Every derived class calls it first thing in its destructor, before its operations go.
    void endThread();

    // For the transports: the address of a dotted quad (255.255.255.255 when the text is none; no name is
    // resolved), and one datagram to it.
    static SPW_CIpAddress parseAddress(const SPW_CString& address);
    static int sendDatagram(SPW_Socket socket, const SPW_CString& address, std::uint32_t port, const void* bytes,
                            int length);

    // 1 while sending is switched on. Written by the owner, read by the thread.
    std::atomic<std::uint8_t> m_state{0};
    ProbeEventSink* const m_sink;
    // The thread's: the number of the next probe.
    std::int32_t m_sequence = 0;

private:
    bool isStopping() const { return m_state != 1 || m_stopRequested || m_worker.isStopAsked(); }
    void openSocket();
    void connectIfNeeded();
    void sendOne();
    void publishSocket(SPW_Socket socket);
    void abandonSocket();
    void report(const char16_t* failure, SPW_Result code);
    // The same for a failure after which nothing is sent.
    void fail(const char16_t* failure, SPW_Result code);

    // Set at construction.
    const ProbeKind m_kind;
    const SPW_CString m_targetAddress;
    const std::uint32_t m_targetPort;
    const SPW_CString m_name;
    const std::int32_t m_ttl;
    const bool m_needsConnect;
    const bool m_needsTtl;

    // Shared: the thread replaces the socket, the owner closes it.
    std::atomic<SPW_Socket> m_socket{kInvalidSocket};
    std::atomic<bool> m_stopRequested{false};
    ProbeWorker m_worker;

    // The owner's.
    SPW_CString m_lastErrorText;

    // The thread's.
    ProbeSchedule m_schedule;
    OutWatch m_out;
    bool m_connected = false;
    bool m_socketNeeded = true;

    // Given back before all else goes, once the thread has ended.
    SocketLibrary m_library;
};
