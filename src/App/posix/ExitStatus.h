#pragma once

// Exit statuses of a program without a screen.
enum ExitStatus : int {
    kAllReachable = 0,     // every row has at least the asked-for quality
    kSomeUnreachable = 1,  // some row has less, or some output was lost
    kNoPeer = 2,           // there is no row
    kBadCommandLine = 3,
    kTestFailed = 4,  // the log file or a listener could not be opened, a name not be found, or a start was cut short
};
