#include "Watch.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "Image.h"
#include "Journal.h"
#include "Threads.h"

namespace {

std::string hexadecimal(Word value) {
    char text[16];
    (void)std::snprintf(text, sizeof text, " %x", value);
    return text;
}

// The words on the stack that look like return addresses, of the calls that led here.
std::string callsOnStack(const Processor& cpu) {
    std::string result;
    constexpr Word kMost = 48;
    Word left = kMost;
    for (Word at = cpu.r[13] & ~3U; left > 0 && at >= cpu.stackLow && at < cpu.stackHigh; at += 4, --left) {
        const Word word = *pointerTo<const Word>(at);
        if (Image::holds(word)) {
            result += hexadecimal(word);
        }
    }
    return result;
}

void describe(const Processor& cpu) {
    for (int i = 0; i < 16; i += 4) {
        Journal::write("  r%-2d %08x r%-2d %08x r%-2d %08x r%-2d %08x", i, cpu.r[i], i + 1, cpu.r[i + 1], i + 2,
                       cpu.r[i + 2], i + 3, cpu.r[i + 3]);
    }
    Journal::write("  stack %08x..%08x, lowest %08x, in the system's function %s", cpu.stackLow, cpu.stackHigh,
                   cpu.lowestStack, cpu.call != nullptr ? cpu.call : "-");
    std::string trail;
    for (unsigned i = 0; i < Processor::kTrail; ++i) {
        trail += hexadecimal(cpu.trail[(cpu.trailAt + i) % Processor::kTrail]);
    }
    Journal::write("  last jumps:%s", trail.c_str());
    Journal::write("  code's addresses on the stack:%s", callsOnStack(cpu).c_str());
}

LONG CALLBACK onException(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    const Processor* const cpu = Threads::current();
    if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && cpu != nullptr) {
        Watch::fault(*cpu, "ACCESS to %08lx, a %s", static_cast<unsigned long>(record.ExceptionInformation[1]),
                     record.ExceptionInformation[0] != 0 ? "write" : "read");
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

namespace Watch {

void fault(const Processor& processor, const char* form, ...) {
    char text[400];
    va_list arguments;
    va_start(arguments, form);
    (void)std::vsnprintf(text, sizeof text, form, arguments);
    va_end(arguments);
    Journal::write("FAULT %s; pc %08x", text, processor.r[15] - 8);
    describe(processor);
    Threads::describe();
    (void)TerminateProcess(GetCurrentProcess(), kFaultStatus);
    for (;;) {
        Sleep(INFINITE);
    }
}

void catchAccesses() {
    (void)AddVectoredExceptionHandler(/*First=*/1, onException);
}

}  // namespace Watch
