#include "ShellW32.h"

namespace {

// The shell's own structure and numbers; desktop systems have no header for them.
struct InitialiseInfo {
    DWORD mask;
    HWND dialog;
    DWORD flags;
};
constexpr DWORD kFlagsAreValid = 1;
constexpr DWORD kDoneButton = 1;
constexpr DWORD kFullScreen = 4;

using InitialiseDialog = BOOL WINAPI(InitialiseInfo* info);

InitialiseDialog* findInitialiseDialog() {
    const HMODULE shell = LoadLibraryW(L"aygshell.dll");
    if (shell == nullptr) {
        return nullptr;
    }
// Windows CE names the functions of this platform in both widths.
#ifdef UNDER_CE
    return reinterpret_cast<InitialiseDialog*>(reinterpret_cast<void*>(GetProcAddressA(shell, "SHInitDialog")));
#else
    return reinterpret_cast<InitialiseDialog*>(reinterpret_cast<void*>(GetProcAddress(shell, "SHInitDialog")));
#endif
}

}  // namespace

void ShellW32::fillScreen(HWND dialog) {
    InitialiseDialog* const initialise = findInitialiseDialog();
    if (initialise == nullptr) {
        return;
    }
    InitialiseInfo info = {kFlagsAreValid, dialog, kDoneButton | kFullScreen};
    (void)initialise(&info);
}
