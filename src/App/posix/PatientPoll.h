#pragma once

#include <poll.h>

// Waits as poll() does, but no signal ends the wait.
//
// A wait that the system refuses lasts a short while, so that a loop of such waits leaves the processor to others. It
// returns less than 0 and marks no source. The caller then looks at its sources without a mark (see Wakeup::isSet()).
int patientPoll(pollfd* sources, nfds_t count, int timeoutMs);
