#include <cstdint>

// An unaligned access, which the emulator must not let pass.

int main() {
    static std::uint32_t words[2] = {};
    const char* place = reinterpret_cast<const char*>(words) + 1;
    __asm__ volatile("" : "+r"(place));  // the compiler must not know where this points
    return static_cast<int>(*reinterpret_cast<const volatile std::uint32_t*>(place));
}
