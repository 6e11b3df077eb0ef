#include "PeerInsightValues.h"

void OutValues::follow(const OutValues& next, const Stamp& now) {
    const OutValues before = *this;
    *this = next;
    if (before.state == next.state) {
        since = before.since;
    }
    if (next.lastError != 0) {
        lastErrorWall100ns = now.wall100ns;
    } else {
        lastError = before.lastError;
        lastErrorWall100ns = before.lastErrorWall100ns;
    }
}
