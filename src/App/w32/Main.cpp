#include <windows.h>

#include <commctrl.h>

#include "CommandLine.h"
#include "MainDialog.h"
#include "MulticastInterfaces.h"
#include "ReportMode.h"
#include "SPW_CApp.h"
#include "SPW_CError.h"
#include "SPW_CMemory.h"
#include "SPW_CWideW32.h"
#include "SettingsStorage.h"
#include "WindowMessageBox.h"

namespace {

constexpr int kBadCommandLine = 3;
constexpr int kNoWindow = 4;

// The box is made by the system and needs no memory of this program.
void sayMemoryIsExhausted() {
    (void)MessageBoxW(nullptr, L"There is no memory left. Linkometry ends.", L"Linkometry",
                      MB_OK | MB_ICONERROR | MB_SETFOREGROUND | MB_TOPMOST);
}

// The program that asked for the report waits for this message.
void tellOutcome(std::uintptr_t window, bool isWritten) {
    const UINT message = RegisterWindowMessageW(L"WM_VTR_DIAGINFOSUCCESS");
    const HWND target = reinterpret_cast<HWND>(window);
    if (IsWindow(target)) {
        (void)PostMessageW(target, message, isWritten ? 1 : 0, 0);
    }
}

int runReport(const CommandLine& options) {
    SPW_CError::instance->setNoBox(true);
    SPW_CMemory::watch(nullptr);
    const bool isWritten = writeReport(options.reportFile);
    tellOutcome(options.reportWindow, isWritten);
    return isWritten ? 0 : 1;
}

int runDialog(MainDialog& dialog) {
    InitCommonControls();
    // A cable that is out for a while must not end a program that runs for weeks.
    SPW_CError::instance->setSurvivedCode(MulticastInterfaces::kReportCode);
    return dialog.runModal() == Dialog::kNotMade ? kNoWindow : 0;
}

int run(const CommandLine& options, WindowMessageBox& box) {
    if (options.getInfoRequested) {
        return runReport(options);
    }
    if (!options.isUsable()) {
        showBox(nullptr, options.error + u"\n-help lists the options", MB_ICONERROR);
        return kBadCommandLine;
    }
    if (options.help) {
        showBox(nullptr, windowUsageText(), MB_ICONINFORMATION);
        return 0;
    }
    if (options.version) {
        SPW_CString program;
        SPW_CApp::getModulePath(program, true);
        showBox(nullptr, readVersion(program), MB_ICONINFORMATION);
        return 0;
    }
    MainDialog dialog(options, box);
    return runDialog(dialog);
}

}  // namespace

// commandLine: without the program's own path.
int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t* commandLine, int) {
    SPW_CMemory::watch(sayMemoryIsExhausted);
    // The box comes first, because a failure can be shown nowhere else.
    WindowMessageBox box;
    SPW_CArray<SPW_CString> tokens;
    splitCommandLine(SPW_FromWide(commandLine), tokens);
    return run(scanArguments(tokens, CommandLine::kWindowsStyle), box);
}
