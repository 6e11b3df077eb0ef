#include "WindowsOver.h"

namespace {

// Invisible windows do not count. The system makes some of its own beside each visible one.
void closeVisible(HWND window) {
    if (IsWindowVisible(window)) {
        (void)PostMessageW(window, WM_CLOSE, 0, 0);
    }
}

BOOL CALLBACK closeIfOwned(HWND window, LPARAM owner) {
    if (GetWindow(window, GW_OWNER) == reinterpret_cast<HWND>(owner)) {
        closeVisible(window);
    }
    return TRUE;
}

BOOL CALLBACK closeIfOfThread(HWND window, LPARAM thread) {
    if (GetWindowThreadProcessId(window, nullptr) == static_cast<DWORD>(thread)) {
        closeVisible(window);
    }
    return TRUE;
}

}  // namespace

void closeWindowsOver(HWND owner) {
    (void)EnumWindows(closeIfOwned, reinterpret_cast<LPARAM>(owner));
}

void closeWindowsOfThread(DWORD thread) {
    (void)EnumWindows(closeIfOfThread, static_cast<LPARAM>(thread));
}
