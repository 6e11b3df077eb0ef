#pragma once

#include <cstdint>

// Atomic operations for a processor that has only an exchange: all of them over the one that its system offers, which
// compares a word and replaces it. `System` gives
//
//     static std::uint32_t compareExchange(std::uint32_t* word, std::uint32_t expected, std::uint32_t wanted);
//         the word's value before; it is `wanted` afterwards when that was `expected`
//     static void giveWay();
//         lets another thread run, one of lower priority too
namespace WindowsCeRuntime {

template <typename System>
class Atomics {
public:
    static bool compareExchange(std::uint32_t* word, std::uint32_t* expected, std::uint32_t wanted) {
        const std::uint32_t found = System::compareExchange(word, *expected, wanted);
        if (found == *expected) {
            return true;
        }
        *expected = found;
        return false;
    }

    // Replaces the word by the result of `change`. Answers the former value.
    template <typename Change>
    static std::uint32_t update(std::uint32_t* word, Change change) {
        std::uint32_t before = __atomic_load_n(word, __ATOMIC_RELAXED);  // one instruction, no call
        while (!compareExchange(word, &before, change(before))) {
        }
        return before;
    }

    // The same for a byte. It replaces the word around the byte and keeps the other bytes of that word.
    template <typename Change>
    static std::uint8_t updateByte(std::uint8_t* byte, Change change) {
        const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(byte);
        const unsigned shift = static_cast<unsigned>(address & 3) * 8;  // the first byte is the lowest
        std::uint32_t* const word = reinterpret_cast<std::uint32_t*>(address & ~std::uintptr_t{3});
        const std::uint32_t before = update(word, [&](std::uint32_t value) {
            const std::uint8_t changed = change(static_cast<std::uint8_t>(value >> shift));
            return (value & ~(std::uint32_t{0xFF} << shift)) | std::uint32_t{changed} << shift;
        });
        return static_cast<std::uint8_t>(before >> shift);
    }

    static bool compareExchangeByte(std::uint8_t* byte, std::uint8_t* expected, std::uint8_t wanted) {
        const std::uint8_t before =
            updateByte(byte, [&](std::uint8_t value) { return value == *expected ? wanted : value; });
        const bool isReplaced = before == *expected;
        *expected = before;
        return isReplaced;
    }

    // The system cannot replace eight bytes at once. All values of eight bytes share one lock, which is held for a few
    // instructions.
    template <typename Operation>
    static auto underLock(std::uint32_t* lock, Operation operation) {
        std::uint32_t isFree = 0;
        while (!compareExchange(lock, &isFree, 1)) {
            isFree = 0;
            System::giveWay();
        }
        const auto result = operation();
        std::uint32_t isTaken = 1;
        (void)compareExchange(lock, &isTaken, 0);
        return result;
    }

    static std::uint64_t load(std::uint32_t* lock, const std::uint64_t* target) {
        return underLock(lock, [&] { return *target; });
    }

    static void store(std::uint32_t* lock, std::uint64_t* target, std::uint64_t value) {
        (void)underLock(lock, [&] { return *target = value; });
    }

    static bool compareExchange(std::uint32_t* lock, std::uint64_t* target, std::uint64_t* expected,
                                std::uint64_t wanted) {
        return underLock(lock, [&] {
            const bool isReplaced = *target == *expected;
            if (isReplaced) {
                *target = wanted;
            } else {
                *expected = *target;
            }
            return isReplaced;
        });
    }
};

}  // namespace WindowsCeRuntime
