#pragma once

#include <chrono>
#include <thread>

#include "ScriptedClock.h"

// A scripted clock that the test alone moves: a thread that sleeps lets the others run, and time stands still
// meanwhile. Every period that the test lets pass then gives one probe of each kind to each peer.
class StillClock : public ScriptedClock {
public:
    void sleepMs(std::uint32_t) override { std::this_thread::sleep_for(std::chrono::milliseconds(1)); }
};
