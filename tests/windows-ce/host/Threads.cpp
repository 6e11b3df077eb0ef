#include "Threads.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "Image.h"
#include "Journal.h"
#include "Lock.h"
#include "Options.h"
#include "Space.h"
#include "Watch.h"

namespace {

DWORD slot = 0;
Lock lock;
// Guarded by the lock. Threads that are about to begin are counted.
long threads = 1;
long mostThreads = 1;
std::vector<Processor*> running;
unsigned long long endedInstructions = 0;
Word endedDeepest = 0;

constexpr Word kPage = 0x1000;
// A function must keep these registers. At first they hold rubbish that can be recognised.
constexpr int kFirstKept = 4;
constexpr int kEndKept = 12;

Processor* makeProcessor(Word start) {
    Processor* const cpu = new Processor{};
    // The page below the stack does not exist, as on a device. The page above it is for the words behind the arguments
    // of a call.
    const Word size = Image::stackSize();
    char* const memory = static_cast<char*>(VirtualAlloc(nullptr, size + 2 * kPage, MEM_RESERVE, PAGE_READWRITE));
    (void)VirtualAlloc(memory + kPage, size + kPage, MEM_COMMIT, PAGE_READWRITE);
    std::memset(memory + kPage, 0xA5, size);
    cpu->stackLow = addressOf(memory) + kPage;
    cpu->stackHigh = cpu->stackLow + size;
    cpu->lowestStack = cpu->stackHigh;
    cpu->r[13] = cpu->stackHigh - 4;
    cpu->r[14] = kReturnAddress;
    for (int i = kFirstKept; i < kEndKept; ++i) {
        cpu->r[i] = 0xBAD00000U + static_cast<Word>(i);
    }
    cpu->startedAt = start;
    (void)TlsSetValue(slot, cpu);
    const Guard guard(lock);
    running.push_back(cpu);
    return cpu;
}

void destroyProcessor(Processor* cpu) {
    {
        const Guard guard(lock);
        endedInstructions += cpu->instructions;
        endedDeepest = std::max(endedDeepest, cpu->deepestStack());
        running.erase(std::find(running.begin(), running.end(), cpu));
    }
    (void)VirtualFree(pointerTo<void>(cpu->stackLow - kPage), 0, MEM_RELEASE);
    delete cpu;
}

// The number of threads has two limits: the one of the options, and the addresses that the stacks take.
bool takeThread() {
    const Guard guard(lock);
    const long limit = Options::threadLimit();
    if ((limit != 0 && threads >= limit) || !Space::take(Image::stackSize())) {
        return false;
    }
    mostThreads = std::max(mostThreads, ++threads);
    return true;
}

void giveThread() {
    const Guard guard(lock);
    --threads;
    Space::give(Image::stackSize());
}

unsigned long long instructionsSoFar() {
    const Guard guard(lock);
    unsigned long long result = endedInstructions;
    for (const Processor* cpu : running) {
        result += cpu->instructions;
    }
    return result;
}

// Another thread may be counting at this moment. Its number is wrong only if its lower half overflows just then, and
// that takes minutes of pure counting.
[[noreturn]] DWORD WINAPI readMeter(void*) {
    constexpr DWORD kPeriodMs = 10000;
    for (;;) {
        Sleep(kPeriodMs);
        Journal::write("METER %llu instructions", instructionsSoFar());
    }
}

struct Start {
    Word function;
    Word argument;
};

DWORD WINAPI startThread(void* parameter) {
    const Start start = *static_cast<Start*>(parameter);
    delete static_cast<Start*>(parameter);
    Processor* const cpu = makeProcessor(start.function);
    cpu->r[0] = start.argument;
    run(*cpu, start.function);
    const Word code = cpu->r[0];
    destroyProcessor(cpu);
    giveThread();
    return code;
}

std::uint64_t createThread(Processor&, const Word* a) {
    if (!takeThread()) {
        Journal::write("THREAD refused, at %x", a[2]);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    constexpr SIZE_T kHostStack = 0x40000;
    Start* const start = new Start{a[2], a[3]};
    const HANDLE thread = CreateThread(nullptr, kHostStack, startThread, start,
                                       a[4] | STACK_SIZE_PARAM_IS_A_RESERVATION, pointerTo<DWORD>(a[5]));
    if (thread == nullptr) {
        giveThread();
        delete start;
    }
    return addressOf(thread);
}

// The desktop has this function under another name and with another order of arguments.
std::uint64_t testExchange(Processor& cpu, const Word* a) {
    Watch::checkAligned(cpu, a[0], 4, "interlocked access");
    return static_cast<Word>(
        InterlockedCompareExchange(pointerTo<LONG>(a[0]), static_cast<LONG>(a[2]), static_cast<LONG>(a[1])));
}

std::uint64_t modifyEvent(Processor& cpu, const Word* a) {
    enum Change { kPulse = 1, kReset = 2, kSet = 3 };
    const HANDLE event = pointerTo<void>(a[0]);
    switch (a[1]) {
        case kPulse:
            return static_cast<Word>(PulseEvent(event));
        case kReset:
            return static_cast<Word>(ResetEvent(event));
        case kSet:
            return static_cast<Word>(SetEvent(event));
        default:
            Watch::fault(cpu, "ARGUMENT of EventModify: %u", a[1]);
    }
}

std::uint64_t callTls(Processor& cpu, const Word* a) {
    enum Change { kAllocate = 0, kFree = 1 };
    switch (a[0]) {
        case kAllocate:
            return TlsAlloc();
        case kFree:
            return static_cast<Word>(TlsFree(a[1]));
        default:
            Watch::fault(cpu, "ARGUMENT of TlsCall: %u", a[0]);
    }
}

const SystemFunction table[] = {{"CreateThread", createThread},
                                {"InterlockedTestExchange", testExchange},
                                {"EventModify", modifyEvent},
                                {"TlsCall", callTls},
                                {nullptr, nullptr}};

}  // namespace

namespace Threads {

void prepare() {
    slot = TlsAlloc();
    if (Options::has("meter")) {
        (void)CloseHandle(CreateThread(nullptr, 0, readMeter, nullptr, 0, nullptr));
    }
}

Word runMain(Word start, Word a, Word b, Word c, Word d) {
    (void)Space::take(Image::stackSize());
    Processor* const cpu = makeProcessor(start);
    cpu->r[0] = a;
    cpu->r[1] = b;
    cpu->r[2] = c;
    cpu->r[3] = d;
    run(*cpu, start);
    return cpu->r[0];
}

Processor* current() {
    return static_cast<Processor*>(TlsGetValue(slot));
}

Word callBack(Word function, Word a, Word b, Word c, Word d) {
    Processor& cpu = *current();
    Word saved[16];
    std::memcpy(saved, cpu.r, sizeof saved);
    const char* const call = cpu.call;
    cpu.call = nullptr;
    cpu.r[0] = a;
    cpu.r[1] = b;
    cpu.r[2] = c;
    cpu.r[3] = d;
    // The system promises no more than the alignment of a word. Therefore the guest gets no more.
    cpu.r[13] = (saved[13] & ~7U) - 100;
    cpu.r[14] = kReturnAddress;
    run(cpu, function);
    const Word result = cpu.r[0];
    for (int i = kFirstKept; i < kEndKept; ++i) {
        if (cpu.r[i] != saved[i]) {
            Watch::fault(cpu, "REGISTER r%d was not kept by the callback %08x", i, function);
        }
    }
    std::memcpy(cpu.r, saved, sizeof saved);
    cpu.call = call;
    return result;
}

void describe() {
    const Guard guard(lock);
    unsigned long long instructions = endedInstructions;
    Word deepest = endedDeepest;
    for (const Processor* cpu : running) {
        Journal::write("THREAD at %x: %llu instructions, deepest stack %u bytes, at pc %x", cpu->startedAt,
                       cpu->instructions, cpu->deepestStack(), cpu->lowestAt);
        instructions += cpu->instructions;
        deepest = std::max(deepest, cpu->deepestStack());
    }
    Journal::write("THREADS %llu instructions, deepest stack %u of %u bytes, at most %ld at a time", instructions,
                   deepest, Image::stackSize(), mostThreads);
}

const SystemFunction* functions() {
    return table;
}

}  // namespace Threads
