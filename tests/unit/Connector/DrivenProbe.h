#pragma once

#include <cstdint>
#include <utility>

// A connector whose steps the test runs itself, one by one, on its own thread. The connector's thread stays blocked on
// its gate.
template <typename Connector>
class DrivenConnector : public Connector {
public:
    template <typename... Arguments>
    explicit DrivenConnector(Arguments&&... arguments) : Connector(std::forward<Arguments>(arguments)...) {
        this->m_state = 1;
    }
    // The gate is still held, as it is with an idle connector.
    ~DrivenConnector() override { this->m_state = 0; }
    void sendStep() { Connector::sendStep(); }
    void switchOff() { this->m_state = 0; }
    // The number of the next probe.
    void setSequence(std::int32_t sequence) { this->m_sequence = sequence; }
    // Ends the thread, as destruction does.
    void end() {
        switchOff();
        this->endThread();
    }
};

// The same for a pinger.
template <typename Pinger>
class DrivenPinger : public Pinger {
public:
    template <typename... Arguments>
    explicit DrivenPinger(Arguments&&... arguments) : Pinger(std::forward<Arguments>(arguments)...) {
        this->m_state = 1;
    }
    ~DrivenPinger() override { this->m_state = 0; }
    void pingStep() { Pinger::pingStep(); }
    void switchOff() { this->m_state = 0; }
    // The number of the next probe.
    void setSequence(std::int32_t sequence) { this->m_sequence = sequence; }
    // Ends the thread, as destruction does.
    void end() {
        switchOff();
        this->endThread();
    }
};
