#include <windows.h>

#include <string>
#include <vector>

#include "Image.h"
#include "Journal.h"
#include "Options.h"
#include "Threads.h"
#include "Watch.h"

// Runs a Windows CE program for ARM; README.md says how.

namespace {

constexpr int kStartReturned = 98;

// A program gets its command line without its own path.
const wchar_t* argumentsOf(const wchar_t* line) {
    const wchar_t end = *line == L'"' ? L'"' : L' ';
    line += end == L'"' ? 1 : 0;
    while (*line != 0 && *line != end) {
        ++line;
    }
    line += *line == L'"' ? 1 : 0;
    while (*line == L' ') {
        ++line;
    }
    return line;
}

// The file that the options name, or the file beside this program that has its name and the ending .arm.
std::wstring programFile() {
    if (!Options::program().empty()) {
        return Options::program();
    }
    wchar_t self[MAX_PATH];
    (void)GetModuleFileNameW(nullptr, self, MAX_PATH);
    std::wstring beside = self;
    return beside.replace(beside.size() - 4, 4, L".arm");
}

}  // namespace

int main() {
    Options::read();
    Journal::open();
    Threads::prepare();
    Image::load(programFile());
    for (const wchar_t* folder : {L"", L"\\Temp", L"\\My Documents"}) {
        (void)CreateDirectoryW((Options::root() + folder).c_str(), nullptr);
    }
    Watch::catchAccesses();
    const wchar_t* const line = argumentsOf(GetCommandLineW());
    // The guest may write into it.
    std::vector<wchar_t> commandLine(line, line + std::wcslen(line) + 1);
    const Word result = Threads::runMain(Image::entry(), Image::kHandle, 0, addressOf(commandLine.data()), SW_SHOW);
    Journal::write("FAULT: the start returned %x", result);
    return kStartReturned;
}
