#include "SPW_CSysErrorW32.h"

#include <windows.h>

#include "SPW_CImmortal.h"
#include "SPW_CLastCodeW32.h"
#include "SPW_CSysErrorSys.h"
#include "SPW_CWideW32.h"

namespace {

SPW_CImmortal<SPW_CLastCodeW32> lastCode;

}  // namespace

void SPW_CSysErrorW32::setLast(SPW_Result code) {
    lastCode.value.set(code);
}

SPW_Result SPW_CSysErrorW32::fail() {
    const SPW_Result code = GetLastError();
    setLast(code);
    return code;
}

SPW_Result SPW_CSysErrorSys::last() {
    return lastCode.value.get();
}

// Handhelds usually come without the system's table of texts.
bool SPW_CSysErrorSys::describe(SPW_Result code, SPW_CString& text) {
    constexpr DWORD kFlags =
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    wchar_t* message = nullptr;
    // With this flag the call takes the address of a pointer in place of a buffer.
    DWORD length = FormatMessageW(kFlags, nullptr, code, 0, reinterpret_cast<wchar_t*>(&message), 0, nullptr);
    if (message == nullptr) {
        return false;
    }
    while (length > 0 && message[length - 1] <= L' ') {
        message[--length] = 0;
    }
    if (length > 0) {
        text = SPW_FromWide(message);
    }
    (void)LocalFree(message);
    return length > 0;
}
