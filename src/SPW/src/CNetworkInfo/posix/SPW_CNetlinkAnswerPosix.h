#pragma once

#include <string_view>

// The frame of the kernel's answer to the request for a table: several datagrams, each with several messages. A pure
// function over bytes that may hold anything; any thread.
namespace SPW_CNetlinkAnswerPosix {

enum Progress {
    kMore,      // the table goes on in the next datagram
    kComplete,  // this was the last one
    kRefused,   // the kernel gives no table, or none further: what has come of it is not whole
};

struct Answer {
    Progress progress = kMore;
    int error = 0;            // with kRefused: errno's number
    bool isOutdated = false;  // the table has changed while it was read
};

// What one datagram says about the whole answer. Messages behind one that is cut off do not count.
Answer examine(std::string_view datagram);

}  // namespace SPW_CNetlinkAnswerPosix
