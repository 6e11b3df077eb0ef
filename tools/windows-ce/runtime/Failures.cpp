#include <windows.h>

#include <cstdlib>
#include <functional>
#include <new>

// Ends a program that does what it must never do.

extern "C" {

[[noreturn]] void abort() {
    constexpr DWORD kAborted = 254;
    (void)TerminateProcess(GetCurrentProcess(), kAborted);
    for (;;) {
        Sleep(INFINITE);  // the call returns before the process has ended
    }
}

// A virtual function was called of an object that is being made or destroyed.
[[noreturn]] void __cxa_pure_virtual() {
    OutputDebugStringW(L"pure virtual call\n");
    abort();
}

}  // extern "C"

// The headers of the C++ library call these where they would throw an exception.

namespace std {

void __throw_bad_alloc() {
    abort();
}
void __throw_bad_array_new_length() {
    abort();
}
void __throw_bad_function_call() {
    abort();
}
void __throw_length_error(const char*) {
    abort();
}
void __throw_out_of_range_fmt(const char*, ...) {
    abort();
}

}  // namespace std
