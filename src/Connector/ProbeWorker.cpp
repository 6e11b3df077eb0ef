#include "ProbeWorker.h"

void ProbeWorker::begin(SPW_CThread& thread) {
    // Without these events nobody could wait for the thread or wake it.
    m_beginResult = m_handedOver.create(false, false, nullptr);
    if (m_beginResult == 0) {
        m_beginResult = m_wake.create(false, false, nullptr);
    }
    if (m_beginResult != 0) {
        return;
    }
    thread.lock();
    m_beginResult = thread.start();
    m_isRunning = m_beginResult == 0;
}

SPW_CString ProbeWorker::failureText() const {
    return probeFailureText(m_beginResult == VTR_CEvent::kCreateFailed ? u"event failed " : u"thread failed ",
                            m_beginResult);
}

void ProbeWorker::openGate(SPW_CThread& thread) {
    m_stopAsked = false;
    m_isGateHeld = false;
    thread.unlock();
}

bool ProbeWorker::askToStop() {
    if (m_isGateHeld || m_stopAsked.exchange(true)) {
        return false;
    }
    // After the flag: the step that follows the end of the sleep looks at it.
    (void)m_wake.set();
    return true;
}

void ProbeWorker::closeGate() {
    if (m_isGateHeld) {
        return;
    }
    (void)askToStop();
    (void)m_handedOver.wait(kSPWForever);  // without a limit the wait ends with the event or not at all
    m_isGateHeld = true;
}

bool ProbeWorker::askToEnd(SPW_CThread& thread) {
    if (!m_isRunning || m_isEndAsked) {
        return false;
    }
    m_isEndAsked = true;
    if (m_stopAsked) {
        closeGate();  // the event then means the end of the loop, and no longer the gate
    }
    thread.requestStop();
    (void)m_wake.set();
    if (m_isGateHeld) {
        thread.unlock();
    }
    return true;
}

void ProbeWorker::end(SPW_CThread& thread) {
    if (!m_isRunning) {
        return;
    }
    (void)askToEnd(thread);
    m_isRunning = false;
    (void)m_handedOver.wait(kSPWForever);  // as above
}

bool ProbeWorker::mayStep(SPW_CThread& thread) {
    if (!m_stopAsked) {
        return true;
    }
    // The thread holds the gate for its step. From here on the gate is the owner's. The owner opens it again.
    (void)m_handedOver.set();  // a thread that runs has its event
    thread.lock();
    return false;
}

void ProbeWorker::signalEnd() {
    (void)m_handedOver.set();  // as above
}

SPW_CString whyNotMade(const Probe* probe) {
    if (probe == nullptr) {
        return probeFailureText(u"memory failed ", kSysNotEnoughMemory);
    }
    return probe->worker().hasThread() ? SPW_CString() : probe->worker().failureText();
}
