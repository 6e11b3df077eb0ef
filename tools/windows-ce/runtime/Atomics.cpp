#include "Atomics.h"

#include <windows.h>

// The functions that the compiler calls for atomic operations. Their last arguments, the memory orders, mean nothing on
// a device with a single processor.

namespace {

struct CoreDll {
    static std::uint32_t compareExchange(std::uint32_t* word, std::uint32_t expected, std::uint32_t wanted) {
        return static_cast<std::uint32_t>(InterlockedTestExchange(
            reinterpret_cast<LONG*>(word), static_cast<LONG>(expected), static_cast<LONG>(wanted)));
    }
    // During a sleep of 0 a thread of lower priority would not run and could not give the lock back.
    static void giveWay() { Sleep(1); }
};

using Operations = WindowsCeRuntime::Atomics<CoreDll>;

std::uint32_t lockOfLongs = 0;

std::uint32_t* wordAt(volatile void* place) {
    return static_cast<std::uint32_t*>(const_cast<void*>(place));
}

std::uint8_t* byteAt(volatile void* place) {
    return static_cast<std::uint8_t*>(const_cast<void*>(place));
}

std::uint64_t* longAt(const volatile void* place) {
    return static_cast<std::uint64_t*>(const_cast<void*>(place));
}

}  // namespace

extern "C" {

unsigned atomicExchange4(volatile void* place, unsigned value, int) __asm__("__atomic_exchange_4");
unsigned atomicExchange4(volatile void* place, unsigned value, int) {
    return Operations::update(wordAt(place), [&](std::uint32_t) { return value; });
}

unsigned atomicFetchAdd4(volatile void* place, unsigned value, int) __asm__("__atomic_fetch_add_4");
unsigned atomicFetchAdd4(volatile void* place, unsigned value, int) {
    return Operations::update(wordAt(place), [&](std::uint32_t before) { return before + value; });
}

unsigned atomicFetchSub4(volatile void* place, unsigned value, int) __asm__("__atomic_fetch_sub_4");
unsigned atomicFetchSub4(volatile void* place, unsigned value, int) {
    return Operations::update(wordAt(place), [&](std::uint32_t before) { return before - value; });
}

bool atomicCompareExchange4(volatile void* place, void* expected, unsigned wanted, bool, int,
                            int) __asm__("__atomic_compare_exchange_4");
bool atomicCompareExchange4(volatile void* place, void* expected, unsigned wanted, bool, int, int) {
    return Operations::compareExchange(wordAt(place), static_cast<std::uint32_t*>(expected), wanted);
}

unsigned char atomicExchange1(volatile void* place, unsigned char value, int) __asm__("__atomic_exchange_1");
unsigned char atomicExchange1(volatile void* place, unsigned char value, int) {
    return Operations::updateByte(byteAt(place), [&](std::uint8_t) { return value; });
}

bool atomicCompareExchange1(volatile void* place, void* expected, unsigned char wanted, bool, int,
                            int) __asm__("__atomic_compare_exchange_1");
bool atomicCompareExchange1(volatile void* place, void* expected, unsigned char wanted, bool, int, int) {
    return Operations::compareExchangeByte(byteAt(place), static_cast<std::uint8_t*>(expected), wanted);
}

unsigned long long atomicLoad8(const volatile void* place, int) __asm__("__atomic_load_8");
unsigned long long atomicLoad8(const volatile void* place, int) {
    return Operations::load(&lockOfLongs, longAt(place));
}

void atomicStore8(volatile void* place, unsigned long long value, int) __asm__("__atomic_store_8");
void atomicStore8(volatile void* place, unsigned long long value, int) {
    Operations::store(&lockOfLongs, longAt(place), value);
}

bool atomicCompareExchange8(volatile void* place, void* expected, unsigned long long wanted, bool, int,
                            int) __asm__("__atomic_compare_exchange_8");
bool atomicCompareExchange8(volatile void* place, void* expected, unsigned long long wanted, bool, int, int) {
    return Operations::compareExchange(&lockOfLongs, longAt(place), static_cast<std::uint64_t*>(expected), wanted);
}

}  // extern "C"
