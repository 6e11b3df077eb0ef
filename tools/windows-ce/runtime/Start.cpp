#include "Start.h"

#include <windows.h>

// The system enters the program here.

extern "C" {

extern const WindowsCeRuntime::Function __CTOR_LIST__[];
extern const WindowsCeRuntime::Function __DTOR_LIST__[];

void WinMainCRTStartup(HINSTANCE program, HINSTANCE previous, wchar_t* commandLine, int show) {
    WindowsCeRuntime::runForward(__CTOR_LIST__);
    const int code = wWinMain(program, previous, commandLine, show);
    WindowsCeRuntime::runBackward(__DTOR_LIST__);
    // The system has no other way to end a process with a code while threads are left.
    (void)TerminateProcess(GetCurrentProcess(), static_cast<DWORD>(code));
    for (;;) {
        Sleep(INFINITE);
    }
}

}  // extern "C"
