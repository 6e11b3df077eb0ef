#pragma once

#include <cstdint>

#include "ProbeWorker.h"
#include "SPW_CThread.h"

// The engine's one place for time: calls a listener once a second, on a thread of its own and by the clock of
// schedules.
//
// Whatever depends on time passing hangs on this call: silence, ageing, limits, windows within which something is done
// once. It needs no thread and no look at the clock of its own, and a test scripts it with one clock.
//
//     start()         1 s          2 s                       4 s          destruction
//        |-------------|------------|-------------------------|-----.......|
//                  onSecond     onSecond  (a late one lasts)  onSecond
//
// Seconds are counted from start(). A second that has passed during a call, or while the device was suspended, is left
// out and not made up.
//
// One thread at a time constructs, starts and destroys: the owner.
class SecondTicker : public SPW_CThread {
public:
    class Listener {
    public:
        virtual ~Listener() = default;
        // On the ticker's thread, without any lock. now100ns: as SPW_CClock::now100ns() has it. The end of the ticker
        // waits for a call in progress. Hence a call must not wait for the thread that ends the ticker.
        virtual void onSecond(std::uint64_t now100ns) = 0;
    };

    // listener: must outlive the ticker.
    explicit SecondTicker(Listener& listener) : m_listener(listener) {}
    // Ends the thread at once, but for a call in progress.
    ~SecondTicker() override;

    // False when the platform has no thread left (reported): no call will come.
    [[nodiscard]] bool start();

    // Calls once if a second is over, or sleeps.
    void step() override;
    void finish() override { m_worker.signalEnd(); }

protected:
    // The first half of start(): seconds count from now on.
    void beginCounting();

private:
    Listener& m_listener;
    ProbeWorker m_worker;

    // The thread's: when the next call is due; 0 before start().
    std::uint64_t m_due100ns = 0;
};
