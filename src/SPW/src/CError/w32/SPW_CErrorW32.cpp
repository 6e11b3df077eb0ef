#include <windows.h>

#include <cstdio>
#include <cstring>

#include "SPW_CErrorSys.h"

namespace {

void print(std::FILE* stream, const SPW_CString& text) {
    const char* bytes = text.toAnsi();
    (void)std::fwrite(bytes, 1, std::strlen(bytes), stream);  // a missing console cannot be reported anywhere
    (void)std::fflush(stream);
}

}  // namespace

void SPW_CErrorSys::printOutput(const SPW_CString& text) {
    print(stdout, text);
}

void SPW_CErrorSys::printError(const SPW_CString& text) {
    print(stderr, text);
}

void SPW_CErrorSys::exitProcess(int code) {
    (void)TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
    for (;;) {
        Sleep(INFINITE);  // the call returns before the process has ended
    }
}
