#include "Kernel.h"

#include <cstdint>

// The kernel enters the program here, and the program enters the kernel by these functions.

int main();

namespace {

enum Call { kExit = 1, kFork = 2, kRead = 3, kWrite = 4, kOpen = 5, kClose = 6, kWait4 = 114, kMap = 192 };

long enter(Call call, long a = 0, long b = 0, long c = 0, long d = 0, long e = 0, long f = 0) {
    register long number __asm__("r7") = call;
    register long r0 __asm__("r0") = a;
    register long r1 __asm__("r1") = b;
    register long r2 __asm__("r2") = c;
    register long r3 __asm__("r3") = d;
    register long r4 __asm__("r4") = e;
    register long r5 __asm__("r5") = f;
    __asm__ volatile("swi 0" : "+r"(r0) : "r"(number), "r"(r1), "r"(r2), "r"(r3), "r"(r4), "r"(r5) : "memory");
    return r0;
}

long number(const void* pointer) {
    return reinterpret_cast<long>(pointer);
}

}  // namespace

namespace Kernel {

int open(const char* path) {
    return static_cast<int>(enter(kOpen, number(path)));
}

int read(int file, void* buffer, std::size_t size) {
    return static_cast<int>(enter(kRead, file, number(buffer), static_cast<long>(size)));
}

int write(int file, const void* bytes, std::size_t size) {
    return static_cast<int>(enter(kWrite, file, number(bytes), static_cast<long>(size)));
}

void close(int file) {
    (void)enter(kClose, file);
}

void exit(int code) {
    for (;;) {
        (void)enter(kExit, code);
    }
}

int fork() {
    return static_cast<int>(enter(kFork));
}

int waitFor(int process) {
    int status = 0;
    (void)enter(kWait4, process, number(&status));
    constexpr int kKilled = 128;
    return (status & 0x7F) != 0 ? kKilled : status >> 8 & 0xFF;
}

void* map(void* place, std::size_t size) {
    constexpr long kReadWrite = 3;
    constexpr long kPrivateAnonymous = 0x22;
    constexpr long kFixed = 0x10;
    const long address = enter(kMap, number(place), static_cast<long>(size), kReadWrite,
                               kPrivateAnonymous | (place != nullptr ? kFixed : 0), -1);
    constexpr unsigned long kFirstError = 0xFFFFF000;
    return static_cast<unsigned long>(address) > kFirstError ? nullptr : reinterpret_cast<void*>(address);
}

}  // namespace Kernel

extern "C" {

using Function = void (*)();
extern const Function __init_array_start[];
extern const Function __init_array_end[];

[[noreturn]] void emulatedStart() {
    // The page in which the kernel of Windows CE shows each process its thread. It gives the only thread a number.
    constexpr std::uintptr_t kPage = 0xFFFFC000;
    constexpr std::uintptr_t kThread = 0xFFFFC808;
    if (Kernel::map(reinterpret_cast<void*>(kPage), 0x1000) != nullptr) {
        *reinterpret_cast<volatile std::uint32_t*>(kThread) = 1;
    }
    for (const Function* constructor = __init_array_start; constructor != __init_array_end; ++constructor) {
        (*constructor)();
    }
    Kernel::exit(main());
}

}  // extern "C"
