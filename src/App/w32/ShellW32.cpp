#include "ShellW32.h"

#include "SPW_CSystemInfo.h"

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

// The system's own style for a caption with an OK button.
constexpr LONG kCaptionOkButton = static_cast<LONG>(0x80000000);

// What the input panel is asked for.
enum PanelWish : unsigned { kPanelUp = 0, kPanelDown = 1 };
using PreferPanel = BOOL WINAPI(HWND dialog, PanelWish wish);

// Null when this device's shell does not have the function. The library that has it stays loaded.
template <typename Type>
Type* find(const char* function) {
    const HMODULE shell = LoadLibraryW(L"aygshell.dll");
    if (shell == nullptr) {
        return nullptr;
    }
// Windows CE has this function for names of both widths, each under a name of its own.
#ifdef UNDER_CE
    return reinterpret_cast<Type*>(reinterpret_cast<void*>(GetProcAddressA(shell, function)));
#else
    return reinterpret_cast<Type*>(reinterpret_cast<void*>(GetProcAddress(shell, function)));
#endif
}

void addOkButton(HWND dialog) {
    (void)SetWindowLongW(dialog, GWL_EXSTYLE, GetWindowLongW(dialog, GWL_EXSTYLE) | kCaptionOkButton);
    (void)SetWindowPos(dialog, nullptr, 0, 0, 0, 0,
                       SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
}

}  // namespace

bool ShellW32::isHandheld() {
    SPW_OsVersion version;
    return SPW_CSystemInfo::instance->osVersion(version) && version.platform == kOsWindowsCe;
}

void ShellW32::fillScreen(HWND dialog) {
    InitialiseDialog* const initialise = find<InitialiseDialog>("SHInitDialog");
    if (initialise == nullptr) {
        addOkButton(dialog);
        return;
    }
    InitialiseInfo info = {kFlagsAreValid, dialog, kDoneButton | kFullScreen};
    (void)initialise(&info);
}

void ShellW32::showInputPanel(HWND dialog, bool isUp) {
    PreferPanel* const prefer = !isHandheld() ? nullptr : find<PreferPanel>("SHSipPreference");
    if (prefer != nullptr) {
        (void)prefer(dialog, isUp ? kPanelUp : kPanelDown);
    }
}
