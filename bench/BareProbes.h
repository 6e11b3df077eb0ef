#pragma once

#include <string>
#include <vector>

#include "Child.h"

// The least that one thread per probe can cost: for each address three threads, which send a UDP datagram, a TCP
// segment and an echo request once per period, sleep until the next is due, and do nothing else. Runs until the line is
// signalled, having signalled itself when all threads are there.
void runBareProbes(const std::vector<std::string>& addresses, double periodSeconds, Line& line);

// Seconds that it takes to create that many threads, each of which blocks at once, and to wake and join them all.
struct ThreadTimes {
    double createSeconds;
    double joinSeconds;
};
ThreadTimes timeBareThreads(int count);
