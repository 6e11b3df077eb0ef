#include <windows.h>

#include <commctrl.h>

#include <cstdio>

// Writes down the widths that the program asks its list for, a line "column width" each, in C:\columns.txt: what the
// list makes of them does not tell one way of asking from another. A class of the program's own, with the list's name
// and the list's behaviour, stands in for the list.

namespace {

WNDPROC theList = nullptr;

LRESULT CALLBACK observe(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == LVM_SETCOLUMNWIDTH) {
        std::FILE* const file = std::fopen("C:\\columns.txt", "a");
        std::fprintf(file, "%d %d\n", static_cast<int>(wParam), static_cast<int>(LOWORD(lParam)));
        std::fclose(file);
    }
    return CallWindowProcW(theList, window, message, wParam, lParam);
}

void WINAPI initialise() {
    using Initialise = void WINAPI();
    const HMODULE controls = LoadLibraryW(L"comctl32.dll");
    reinterpret_cast<Initialise*>(reinterpret_cast<void*>(GetProcAddress(controls, "InitCommonControls")))();
    WNDCLASSW description = {};
    GetClassInfoW(nullptr, WC_LISTVIEWW, &description);
    theList = description.lpfnWndProc;
    description.lpfnWndProc = observe;
    description.style &= ~static_cast<UINT>(CS_GLOBALCLASS);
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = WC_LISTVIEWW;
    RegisterClassW(&description);
}

}  // namespace

extern "C" {

extern void(WINAPI* const __imp_InitCommonControls)();
void(WINAPI* const __imp_InitCommonControls)() = initialise;

}  // extern "C"
