#pragma once

// A process-wide object that is ready before the first constructor of the program runs and never destroyed.
//
// Threads of probes and of the log may still be running while the process ends, and reach the process-wide objects
// (clock, sockets, reporter ...) through their `instance` pointers until the very last moment.
//
// T needs a constexpr default constructor; the object is then part of the program's image, and no order of
// initialisation matters.
template <typename T>
union SPW_CImmortal {
    T value;
    constexpr SPW_CImmortal() : value() {}
    ~SPW_CImmortal() {}
};
