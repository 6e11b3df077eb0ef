#include <windows.h>

// What the shell of a handheld does for a dialog that asks for the whole of its screen, and an OK button in its
// caption.

namespace {

struct Wish {
    DWORD mask;
    HWND dialog;
    DWORD flags;
};
constexpr DWORD kFlagsCount = 1;
constexpr DWORD kOkButtonAndWholeScreen = 1 | 4;

}  // namespace

extern "C" __declspec(dllexport) BOOL WINAPI SHInitDialog(const Wish* wish) {
    constexpr int kScreenWidth = 240;
    constexpr int kScreenHeight = 320;
    return wish->mask == kFlagsCount && wish->flags == kOkButtonAndWholeScreen &&
           SetWindowPos(wish->dialog, nullptr, 0, 0, kScreenWidth, kScreenHeight, SWP_NOZORDER | SWP_NOACTIVATE);
}
