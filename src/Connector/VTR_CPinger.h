#pragma once

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "Probe.h"
#include "ProbeEventSink.h"
#include "ProbeSchedule.h"
#include "ProbeWorker.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CIcmp.h"
#include "SPW_CIpAddress.h"
#include "SPW_CString.h"
#include "SPW_CThread.h"

// Pings one peer once per period and reports every request as sent, every answered one as received as well. Just before
// that it reports how the reply came. It needs nothing on the peer's side.
//
// One thread at a time constructs, starts, stops and destroys: the owner (see Probe). Reports are made on the pinger's
// own thread. StopPinging() and the destructor end the ping in progress, which then counts neither as sent nor as lost,
// or its sleep, and wait for its step. (On a device that cannot end a ping: at most one period; see
// SPW_CIcmp::cancel().)
class VTR_CPinger : public SPW_CThread, public Probe {
public:
    // address: dotted quad or host name. periodMs: between requests, and the time-out of each.
    // dataSize: bytes of echo data per request; a request carries the low 16 bits of that number. 0 makes the reply
    // buffer empty, which the echo service refuses; a size that cannot be allocated makes every ping fail.
    VTR_CPinger(ProbeEventSink* sink, const SPW_CString& address, std::int32_t periodMs, std::int32_t dataSize);
    ~VTR_CPinger() override;

    // 0, kProbeAlreadyRunning, or kProbeFailed when the pinger has no thread (GetLastErrorText() tells why).
    [[nodiscard]] SPW_Result StartPinging();
    // Says that a stop comes and ends the ping in progress; returns at once. An idle pinger has nothing to end.
    void askToStop() override;
    // The same for a destruction, which is all that may follow. May wait for the step, as Probe says.
    void askToEnd() override;
    // 0, or kProbeNotRunning (no text is stored for that).
    [[nodiscard]] SPW_Result StopPinging();
    // Text and code of the latest failed ping or start; reading one empties it. Any thread.
    SPW_CString GetLastErrorText();
    SPW_Result GetLastErrorCode();

    SPW_Result startProbe() override { return StartPinging(); }
    SPW_Result stopProbe() override { return StopPinging(); }
    SPW_CString failureText() override { return GetLastErrorText(); }

    void step() override {
        if (m_worker.mayStep(*this)) {
            pingStep();
        }
    }
    void finish() override { onThreadEnd(); }
    // Tells whether the object has a thread; without one it cannot be started.
    const ProbeWorker& worker() const override { return m_worker; }

protected:
    // Sends at most one echo request and waits for its reply, or sleeps.
    void pingStep();
    void onThreadEnd();
    // Ends the thread. A derived class would call it first thing in its own destructor.
    void endThread();

    // 1 while pinging is switched on. Written by the owner, read by the thread.
    std::atomic<std::uint8_t> m_state{0};
    // The thread's: the number of the next request.
    std::int32_t m_sequence = 0;

private:
    struct FreeMemory {
        void operator()(void* memory) const { std::free(memory); }
    };
    typedef std::unique_ptr<void, FreeMemory> Buffer;

    // One request to the peer and its reply: 0, kProbeAddressMissing, kProbeFailed, or kSysOperationAborted when a stop
    // has ended it. Only with 0 does reply tell how the reply came.
    SPW_Result ping(SPW_EchoReply& reply);
    // The service of the ping in progress, which a stop cancels; null when there is none.
    void publishService(SPW_Handle service);
    void cancelEcho();
    bool isStopping() const { return m_stopRequested || m_worker.isStopAsked(); }
    SPW_Result echo(SPW_Handle service, const SPW_CIpAddress& target, SPW_EchoReply& reply);
    bool findTarget(SPW_CIpAddress& target) const;
    SPW_Result fail(const SPW_CString& text, SPW_Result code);

    ProbeEventSink* const m_sink;
    const SPW_CString m_address;
    const std::int32_t m_dataSize;

    std::atomic<bool> m_stopRequested{false};
    ProbeWorker m_worker;

    // Guards the service: the thread sets it, the owner cancels it.
    SPW_CCriticalSection m_serviceLock;
    SPW_Handle m_service = nullptr;

    // Guards the two below: the thread writes, any thread takes.
    SPW_CCriticalSection m_errorLock;
    SPW_CString m_lastErrorText;
    SPW_Result m_lastErrorCode = 0;

    // The thread's.
    ProbeSchedule m_schedule;
    Buffer m_keptRequest;
};
