#include <windows.h>

#include "Instructions.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t*, int) {
    const unsigned size = runInstructions();
    const HANDLE file = CreateFileW(L"\\results", GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    const bool isWritten = WriteFile(file, instructionResults, size, &written, nullptr) && written == size;
    (void)CloseHandle(file);
    return isWritten ? 0 : 1;
}
