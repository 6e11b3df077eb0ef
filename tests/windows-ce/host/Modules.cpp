#include "Modules.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <cwchar>

#include "Heap.h"
#include "Image.h"
#include "Journal.h"
#include "Options.h"
#include "Space.h"
#include "Threads.h"
#include "Watch.h"

namespace {

// Handles. They are not addresses, like the program's own handle.
constexpr Word kIpHelper = 0x8F000001;
constexpr Word kIcmp = 0x8F000002;
constexpr Word kShell = 0x8F000003;

std::uint64_t moduleName(Processor& cpu, const Word* a) {
    if (a[0] != 0 && a[0] != Image::kHandle) {
        Watch::fault(cpu, "ARGUMENT of GetModuleFileName: %x", a[0]);
    }
    if (a[2] == 0) {
        return 0;
    }
    const std::wstring& name = Image::devicePath();
    const Word count = std::min(static_cast<Word>(name.size()), a[2] - 1);
    wchar_t* const room = pointerTo<wchar_t>(a[1]);
    std::memcpy(room, name.data(), count * sizeof(wchar_t));
    room[count] = 0;
    return count;
}

std::uint64_t moduleHandle(Processor&, const Word* a) {
    return a[0] == 0 ? Image::kHandle : 0;
}

// A device may lack each of these libraries, or have the functions for pings in a library of their own.
std::uint64_t loadLibrary(Processor&, const Word* a) {
    const std::string name = Journal::shown(a[0]);
    Word handle = 0;
    if (name == "iphlpapi.dll" && !Options::has("noiphlpapi")) {
        handle = kIpHelper;
    } else if (name == "icmplib.dll" && Options::has("icmplib")) {
        handle = kIcmp;
    } else if (name == "aygshell.dll" && !Options::has("noaygshell")) {
        handle = kShell;
    }
    Journal::write("LIBRARY %s %s", name.c_str(), handle != 0 ? "loaded" : "missing");
    SetLastError(handle != 0 ? 0 : ERROR_MOD_NOT_FOUND);
    return handle;
}

std::uint64_t freeLibrary(Processor&, const Word*) {
    return 1;
}

std::uint64_t procedure(Processor&, const Word* a) {
    const std::string name = pointerTo<const char>(a[1]);
    const bool isIcmp = name.compare(0, 4, "Icmp") == 0;
    if (a[0] == kIpHelper && !(isIcmp && Options::has("icmplib"))) {
        return addCall("iphlpapi.dll", name);
    }
    if (a[0] == kIcmp && isIcmp) {
        return addCall("icmplib.dll", name);
    }
    if (a[0] == kShell && name.compare(0, 2, "SH") == 0) {
        return addCall("aygshell.dll", name);
    }
    SetLastError(ERROR_PROC_NOT_FOUND);
    return 0;
}

std::uint64_t version(Processor&, const Word* a) {
    OSVERSIONINFOW& answer = *pointerTo<OSVERSIONINFOW>(a[0]);
    if (answer.dwOSVersionInfoSize < sizeof answer) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const bool isDesktop = Options::has("desktop");
    constexpr DWORD kWindowsCe = 3;
    answer.dwMajorVersion = isDesktop ? 10 : 3;
    answer.dwMinorVersion = 0;
    answer.dwBuildNumber = isDesktop ? 19043 : 11171;
    answer.dwPlatformId = isDesktop ? VER_PLATFORM_WIN32_NT : kWindowsCe;
    answer.szCSDVersion[0] = 0;
    return 1;
}

// The program's own file has another path on the host. The guest asks for the version of no other file.
const wchar_t* versionedFile(Processor& cpu, Word path) {
    if (_wcsicmp(pointerTo<const wchar_t>(path), Image::devicePath().c_str()) != 0) {
        Watch::fault(cpu, "ARGUMENT is no program file: %s", Journal::shown(path).c_str());
    }
    return Image::path().c_str();
}

std::uint64_t versionSize(Processor& cpu, const Word* a) {
    return GetFileVersionInfoSizeW(versionedFile(cpu, a[0]), pointerTo<DWORD>(a[1]));
}

std::uint64_t versionInformation(Processor& cpu, const Word* a) {
    return static_cast<Word>(GetFileVersionInfoW(versionedFile(cpu, a[0]), a[1], a[2], pointerTo<void>(a[3])));
}

std::uint64_t debugText(Processor&, const Word* a) {
    Journal::write("DEBUG %s", Journal::shown(a[0]).c_str());
    return 0;
}

std::uint64_t terminate(Processor& cpu, const Word* a) {
    constexpr Word kThisProcess = 66;
    if (a[0] != kThisProcess) {
        Watch::fault(cpu, "ARGUMENT of TerminateProcess: %x", a[0]);
    }
    Heap::finish(cpu);
    Journal::write("END with %u", a[1]);
    Threads::describe();
    Space::describe();
    describeCalls();
    return static_cast<Word>(TerminateProcess(GetCurrentProcess(), a[1]));
}

const SystemFunction table[] = {{"GetModuleFileNameW", moduleName},
                                {"GetModuleHandleW", moduleHandle},
                                {"LoadLibraryW", loadLibrary},
                                {"FreeLibrary", freeLibrary},
                                {"GetProcAddressA", procedure},
                                {"GetVersionExW", version},
                                {"GetFileVersionInfoSizeW", versionSize},
                                {"GetFileVersionInfoW", versionInformation},
                                {"OutputDebugStringW", debugText},
                                {"TerminateProcess", terminate},
                                {nullptr, nullptr}};

}  // namespace

namespace Modules {

const SystemFunction* functions() {
    return table;
}

}  // namespace Modules
