#include <windows.h>

// The system's version as the program asks for it, in the place of the import: where the shell of a handheld is, the
// system is a handheld's.

namespace {

BOOL WINAPI answer(OSVERSIONINFOW* version) {
    using GetVersion = BOOL WINAPI(OSVERSIONINFOW * version);
    const HMODULE kernel = GetModuleHandleW(L"kernel32.dll");
    auto* const ask = reinterpret_cast<GetVersion*>(reinterpret_cast<void*>(GetProcAddress(kernel, "GetVersionExW")));
    const BOOL isKnown = ask(version);
    if (GetFileAttributesW(L"C:\\windows\\system32\\aygshell.dll") != INVALID_FILE_ATTRIBUTES) {
        constexpr DWORD kWindowsCe = 3;
        version->dwPlatformId = kWindowsCe;
        version->dwMajorVersion = 3;
        version->dwMinorVersion = 0;
    }
    return isKnown;
}

}  // namespace

extern "C" {

extern BOOL(WINAPI* const __imp_GetVersionExW)(OSVERSIONINFOW*);
BOOL(WINAPI* const __imp_GetVersionExW)(OSVERSIONINFOW*) = answer;

}  // extern "C"
