#include <windows.h>

#include <cstdlib>
#include <functional>
#include <new>

// How a program ends that breaks a promise.

extern "C" {

[[noreturn]] void abort() {
    constexpr DWORD kAborted = 254;
    (void)TerminateProcess(GetCurrentProcess(), kAborted);
    for (;;) {
        Sleep(INFINITE);  // the call returns before it has done its work
    }
}

// An operation of an object that is only half made or half destroyed.
[[noreturn]] void __cxa_pure_virtual() {
    OutputDebugStringW(L"pure virtual call\n");
    abort();
}

}  // extern "C"

// Where the C++ library's headers would throw.

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
