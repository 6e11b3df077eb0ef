#include "VTR_CPinger.h"

#include <limits>

#include "SPW_CArray.h"
#include "SPW_CIcmp.h"
#include "SPW_CSocket.h"
#include "SPW_CSysError.h"
#include "SocketLibrary.h"

// Bytes of reply buffer per byte of echo data. More than a reply needs, except that no data give no buffer.
static const std::uint64_t kReplyBytesPerByte = 28;

VTR_CPinger::VTR_CPinger(ProbeEventSink* sink, const SPW_CString& address, std::int32_t periodMs, std::int32_t dataSize)
    : m_sink(sink), m_address(address), m_dataSize(dataSize), m_schedule(periodMs, m_worker.wake()) {
    m_worker.begin(*this);
}

VTR_CPinger::~VTR_CPinger() {
    endThread();
}

SPW_Result VTR_CPinger::StartPinging() {
    if (m_state == 1) {
        return kProbeAlreadyRunning;
    }
    if (!m_worker.hasThread()) {
        return fail(m_worker.failureText(), m_worker.beginResult());
    }
    m_worker.openGate(*this);
    m_state = 1;
    (void)m_worker.wake().set();  // a step between the two lines sleeps as one that is switched off
    return 0;
}

void VTR_CPinger::askToStop() {
    if (m_worker.askToStop()) {
        cancelEcho();
    }
}

void VTR_CPinger::cancelEcho() {
    const SPW_CGuard guard(m_serviceLock);
    SPW_CIcmp::instance->cancel(m_service);
}

// A service that is opened while a stop is under way must be cancelled by one of the two sides at least:
//
//     owner     says that it stops, then looks for a service
//     thread    shows the service, then looks for a stop
void VTR_CPinger::publishService(SPW_Handle service) {
    const SPW_CGuard guard(m_serviceLock);
    m_service = service;
    if (isStopping()) {
        SPW_CIcmp::instance->cancel(service);
    }
}

SPW_Result VTR_CPinger::StopPinging() {
    if (m_state == 0) {
        return kProbeNotRunning;
    }
    askToStop();
    m_worker.closeGate();
    m_state = 0;
    return 0;
}

void VTR_CPinger::askToEnd() {
    m_stopRequested = true;
    (void)m_worker.askToEnd(*this);  // a second time changes nothing
    cancelEcho();
}

void VTR_CPinger::endThread() {
    askToEnd();
    m_worker.end(*this);
}

void VTR_CPinger::onThreadEnd() {
    m_worker.signalEnd();
}

SPW_CString VTR_CPinger::GetLastErrorText() {
    const SPW_CGuard guard(m_errorLock);
    const SPW_CString text(m_lastErrorText);
    m_lastErrorText.clear();
    return text;
}

SPW_Result VTR_CPinger::GetLastErrorCode() {
    const SPW_CGuard guard(m_errorLock);
    const SPW_Result code = m_lastErrorCode;
    m_lastErrorCode = 0;
    return code;
}

void VTR_CPinger::pingStep() {
    if (m_stopRequested) {
        return;
    }
    if (!m_schedule.isDue(m_state == 1)) {
        return;
    }
    SPW_EchoReply reply;
    const SPW_Result result = ping(reply);
    if (result == kSysOperationAborted) {
        // Nobody knows whether the peer would have answered. The request counts as not sent.
        return;
    }
    m_sink->onDataSent(kPinger, 0, m_address, m_sequence, SPW_CString());
    if (result == 0) {
        m_sink->onReplyMeasured(m_address, reply.roundTripUs, reply.timeToLive);
        m_sink->onDataReceived(kPinger, 0, m_address, m_sequence, SPW_CString());
    } else {
        const SPW_Result code = GetLastErrorCode();
        m_sink->onSocketError(kPinger, 0, m_address, code, GetLastErrorText());
    }
    m_sequence = nextSequence(m_sequence);
}

SPW_Result VTR_CPinger::ping(SPW_EchoReply& reply) {
    const SocketLibrary library;
    SPW_CIpAddress target;
    if (!findTarget(target)) {
        const SPW_CGuard guard(m_errorLock);
        m_lastErrorText = u"no ipaddress supplied";
        return kProbeAddressMissing;
    }
    const SPW_Handle service = SPW_CIcmp::instance->open();
    if (service == nullptr) {
        const SPW_Result code = SPW_CIcmp::instance->lastError();
        return fail(probeFailureText(u"Could not create ICMP handle ", code), code);
    }
    publishService(service);
    const SPW_Result result = echo(service, target, reply);
    publishService(nullptr);
    SPW_CIcmp::instance->close(service);
    return result;
}

// The first address of the peer's name; a name that is not known may still be an address.
bool VTR_CPinger::findTarget(SPW_CIpAddress& target) const {
    SPW_CArray<SPW_CIpAddress> addresses;
    if (SPW_CSocket::instance->resolve(m_address, addresses) && addresses.numberOfElements() > 0) {
        target = addresses[0];
        return true;
    }
    return SPW_CIpAddress::parse(m_address, target);
}

SPW_Result VTR_CPinger::echo(SPW_Handle service, const SPW_CIpAddress& target, SPW_EchoReply& reply) {
    static const char16_t kShortOfMemory[] = u"running short of memory";
    // A negative size is one beyond all memory, as is one whose reply cannot be counted in 32 bits.
    const std::uint64_t dataSize = static_cast<std::uint32_t>(m_dataSize);
    const std::uint64_t replySize = dataSize * kReplyBytesPerByte;
    if (replySize > std::numeric_limits<std::uint32_t>::max()) {
        return fail(kShortOfMemory, kSysNotEnoughMemory);
    }
    // Zeroed: a request must show nothing of this program's memory. One byte longer: for no data at all the platform
    // may answer null, which would pass for a failure.
    Buffer data(std::calloc(static_cast<std::size_t>(dataSize) + 1, 1));
    Buffer replyBuffer(std::calloc(static_cast<std::size_t>(replySize) + 1, 1));
    if (!data || !replyBuffer) {
        // Deliberately not freed at once. The pinger keeps it until this failure comes again or the pinger ends.
        m_keptRequest = std::move(data);
        return fail(kShortOfMemory, kSysNotEnoughMemory);
    }
    const std::int32_t periodMs = m_schedule.periodMs();
    SPW_EchoRequest request;
    request.address = target;
    request.data = data.get();
    request.dataSize = static_cast<std::uint16_t>(dataSize);
    request.timeoutMs = periodMs > 0 ? static_cast<std::uint32_t>(periodMs) : 0;
    reply.buffer = replyBuffer.get();
    reply.bufferSize = static_cast<std::uint32_t>(replySize);
    SPW_CIcmp::instance->echo(service, request, reply);
    reply.buffer = nullptr;  // goes at the end of this call
    // Any reply counts, whatever its status says.
    if (reply.count != 0) {
        return 0;
    }
    const SPW_Result code = SPW_CIcmp::instance->lastError();
    // The platform may abort for reasons of its own, too; only a stop leaves the request uncounted.
    const bool isFromStop = code == kSysOperationAborted && isStopping();
    return isFromStop ? code : fail(probeFailureText(u"IcmpSendEcho failed ", code), code);
}

SPW_Result VTR_CPinger::fail(const SPW_CString& text, SPW_Result code) {
    const SPW_CGuard guard(m_errorLock);
    m_lastErrorCode = code;
    m_lastErrorText = text;
    return kProbeFailed;
}
