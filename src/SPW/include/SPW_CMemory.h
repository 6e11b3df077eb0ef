#pragma once

// What the program does when it gets no memory and cannot go on without: it tells this and ends.
//
// Usable before main(). Any thread.
class SPW_CMemory {
public:
    // How the program then ends.
    static constexpr int kExhaustedCode = 254;

    // Tells the user in words, without taking memory of the program's own. Blocks until the user has read it.
    using Show = void();
    // Puts a line into a log.
    class Log {
    public:
        // Called at most once, from any thread, with a little memory set free. Must not wait long: another thread may
        // hold what it waits for and be out of memory as well.
        virtual void memoryIsExhausted() = 0;

    protected:
        ~Log() = default;
    };

    // From now on operator new ends in exhausted(), and a reserve is kept for the last line of the log. show: null when
    // there is no user to tell.
    static void watch(Show* show);
    // The log that is open, or null. The owner takes it back before the log goes.
    static void setLog(Log* log);

    // Says that the memory is used up and ends the process with kExhaustedCode. A second thread that comes here waits
    // for that end.
    [[noreturn]] static void exhausted();
    // Whether a thread has come there. The threads that found no memory after it sleep until the end, and may hold a
    // lock: from now on nothing may be waited for.
    static bool isExhausted();
};
