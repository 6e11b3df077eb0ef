#include "Windows.h"

#include <windows.h>

#include "Image.h"
#include "Journal.h"
#include "Options.h"
#include "Threads.h"
#include "Watch.h"

namespace {

const wchar_t* name(Word word) {
    return pointerTo<const wchar_t>(word);
}

std::uint64_t findResource(Processor& cpu, const Word* a) {
    if (a[0] != Image::kHandle && a[0] != 0) {
        Watch::fault(cpu, "ARGUMENT of FindResource: %x", a[0]);
    }
    return addressOf(FindResourceW(Image::resources(), name(a[1]), name(a[2])));
}

std::uint64_t loadResource(Processor&, const Word* a) {
    return addressOf(LockResource(LoadResource(Image::resources(), pointerTo<HRSRC__>(a[1]))));
}

std::uint64_t loadIcon(Processor&, const Word* a) {
    return addressOf(LoadIconW(Image::resources(), name(a[1])));
}

// All of the guest's dialogs have one procedure.
Word dialogProcedure = 0;

INT_PTR CALLBACK callProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return static_cast<INT_PTR>(
        Threads::callBack(dialogProcedure, addressOf(window), message, wParam, static_cast<Word>(lParam)));
}

std::uint64_t dialogBox(Processor&, const Word* a) {
    dialogProcedure = a[3];
    SetLastError(0);
    return static_cast<Word>(DialogBoxIndirectParamW(Image::resources(), pointerTo<const DLGTEMPLATE>(a[1]),
                                                     pointerTo<HWND__>(a[2]), callProcedure,
                                                     static_cast<LPARAM>(a[4])));
}

struct Visitor {
    Word procedure;
    Word parameter;
};

BOOL CALLBACK callVisitor(HWND window, LPARAM visitor) {
    const Visitor& guest = *reinterpret_cast<const Visitor*>(visitor);
    return static_cast<BOOL>(Threads::callBack(guest.procedure, addressOf(window), guest.parameter, 0, 0));
}

std::uint64_t enumWindows(Processor&, const Word* a) {
    const Visitor guest = {a[0], a[1]};
    return static_cast<Word>(EnumWindows(callVisitor, reinterpret_cast<LPARAM>(&guest)));
}

std::uint64_t messageBox(Processor&, const Word* a) {
    Journal::write("BOX \"%s\": \"%s\"", Journal::shown(a[2]).c_str(), Journal::shown(a[1]).c_str());
    return static_cast<Word>(MessageBoxW(pointerTo<HWND__>(a[0]), name(a[1]), name(a[2]), a[3]));
}

// The shell gives a dialog the screen below the shell's own bar. The bar shows the caption with its OK button. With the
// option full there is no bar, and the dialog has its own caption.
std::uint64_t initialiseDialog(Processor& cpu, const Word* a) {
    struct Wish {
        DWORD mask;
        HWND dialog;
        DWORD flags;
    };
    const Wish& wish = *pointerTo<const Wish>(a[0]);
    constexpr DWORD kFlagsCount = 1;
    constexpr DWORD kOkButtonAndWholeScreen = 1 | 4;
    if (wish.mask != kFlagsCount || wish.flags != kOkButtonAndWholeScreen) {
        Watch::fault(cpu, "ARGUMENT of SHInitDialog: %lx %lx", wish.mask, wish.flags);
    }
    constexpr int kBar = 26;
    const int bar = Options::has("full") ? 0 : kBar;
    int width = 0;
    int height = 0;
    Options::screen(width, height);
    return static_cast<Word>(
        SetWindowPos(wish.dialog, nullptr, 0, bar, width, height - bar, SWP_NOZORDER | SWP_NOACTIVATE));
}

std::uint64_t preferPanel(Processor&, const Word* a) {
    Journal::write("PANEL %s", a[1] == 0 ? "up" : "down");
    return 1;
}

const SystemFunction table[] = {
    {"FindResourceW", findResource},        {"LoadResource", loadResource},   {"LoadIconW", loadIcon},
    {"DialogBoxIndirectParamW", dialogBox}, {"EnumWindows", enumWindows},     {"MessageBoxW", messageBox},
    {"SHInitDialog", initialiseDialog},     {"SHSipPreference", preferPanel}, {nullptr, nullptr}};

}  // namespace

namespace Windows {

const SystemFunction* functions() {
    return table;
}

}  // namespace Windows
