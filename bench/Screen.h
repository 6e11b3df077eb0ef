#pragma once

#include <sys/types.h>

#include "Network.h"

// The program with its screen, on a terminal of 80 columns by 24 lines that nobody looks at. It dies with the object.
class ScreenedProgram {
public:
    // In the network namespace of that descriptor, with the settings of this process's environment. Begins a test.
    ScreenedProgram(const char* program, int network);
    ~ScreenedProgram();
    ScreenedProgram(const ScreenedProgram&) = delete;
    ScreenedProgram& operator=(const ScreenedProgram&) = delete;

    pid_t pid() const { return m_pid; }

private:
    int m_terminal;  // the user's end
    pid_t m_pid;
    pid_t m_reader;  // takes what is drawn
};
