#include <windows.h>

#include <commctrl.h>

#include "CommandLine.h"
#include "MainDialog.h"
#include "MulticastInterfaces.h"
#include "ReportMode.h"
#include "SPW_CApp.h"
#include "SPW_CError.h"
#include "SPW_CWideW32.h"
#include "SettingsStorage.h"
#include "WindowMessageBox.h"

namespace {

constexpr int kBadCommandLine = 3;

void say(const SPW_CString& text, UINT icon) {
    (void)MessageBoxW(nullptr, SPW_ToWide(text.text()), L"Linkometry", MB_OK | icon);
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
    const bool isWritten = writeReport(options.reportFile);
    tellOutcome(options.reportWindow, isWritten);
    return isWritten ? 0 : 1;
}

int runDialog(MainDialog& dialog) {
    InitCommonControls();
    WindowMessageBox box;
    SPW_CError::instance->setMessageBox(&box);
    // A cable that is out for a while must not end a program that runs for weeks.
    SPW_CError::instance->setSurvivedCode(MulticastInterfaces::kReportCode);
    (void)dialog.runModal(nullptr);
    SPW_CError::instance->setMessageBox(nullptr);
    return 0;
}

int run(const CommandLine& options) {
    if (options.getInfoRequested) {
        return runReport(options);
    }
    if (!options.isUsable()) {
        say(options.error + u"\n-help lists the options", MB_ICONERROR);
        return kBadCommandLine;
    }
    if (options.help) {
        say(windowUsageText(), MB_ICONINFORMATION);
        return 0;
    }
    if (options.version) {
        SPW_CString program;
        SPW_CApp::getModulePath(program, true);
        say(readVersion(program), MB_ICONINFORMATION);
        return 0;
    }
    MainDialog dialog(options);
    return runDialog(dialog);
}

}  // namespace

// commandLine: without the program's own path.
int WINAPI wWinMain(HINSTANCE, HINSTANCE, wchar_t* commandLine, int) {
    SPW_CArray<SPW_CString> tokens;
    splitCommandLine(SPW_FromWide(commandLine), tokens);
    return run(scanArguments(tokens));
}
