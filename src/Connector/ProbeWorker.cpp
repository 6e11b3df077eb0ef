#include "ProbeWorker.h"

void ProbeWorker::begin(SPW_CThread& thread) {
    // Without the event nobody could wait for the thread's end; the event reports why it cannot be made.
    if (m_finished.create(false, false, nullptr) != 0) {
        return;
    }
    thread.lock();
    m_hasThread = thread.start() == 0;  // reported there; a probe object without a thread sends and hears nothing
}

void ProbeWorker::signalEnd() {
    (void)m_finished.set();  // fails only when there is no event, and then there is no thread
}

void ProbeWorker::end(SPW_CThread& thread, bool gateHeld) {
    if (!m_hasThread) {
        return;
    }
    m_hasThread = false;
    thread.requestStop();
    if (gateHeld) {
        thread.unlock();
    }
    (void)m_finished.wait(kSPWForever);  // without a limit the wait ends with the event or not at all
}
