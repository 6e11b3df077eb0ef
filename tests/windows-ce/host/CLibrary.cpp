#include "CLibrary.h"

#include <windows.h>

#include <cstdio>
#include <cstring>

#include "Journal.h"
#include "Options.h"

namespace {

// The device's printf knows only the lengths h, l, L and I64, and none of the newer conversions.
void checkFormat(const char* function, const std::string& form) {
    for (std::size_t i = form.find('%'); i != std::string::npos; i = form.find('%', i + 1)) {
        i = form.find_first_not_of("-+ #0123456789.*", i + 1);
        if (i == std::string::npos) {
            return;
        }
        if (form.compare(i, 2, "ll") == 0 || form.compare(i, 2, "hh") == 0 ||
            std::strchr("zjtFaA", form[i]) != nullptr) {
            Journal::write("FORMAT unknown to the device in %s: %s", function, form.c_str());
        }
    }
}

std::uint64_t printed(const char* function, const std::string& form, const Word* a) {
    checkFormat(function, form);
    return callHost(reinterpret_cast<const void*>(GetProcAddress(GetModuleHandleW(L"msvcrt.dll"), function)), a);
}

std::uint64_t print(Processor&, const Word* a) {
    return printed("sprintf", pointerTo<const char>(a[1]), a);
}

std::uint64_t printList(Processor&, const Word* a) {
    return printed("vsprintf", pointerTo<const char>(a[1]), a);
}

std::uint64_t printWide(Processor&, const Word* a) {
    return printed("swprintf", Journal::shown(a[1]), a);
}

std::uint64_t standardFile(Processor&, const Word* a) {
    return addressOf(a[0] == 0 ? stdin : a[0] == 1 ? stdout : stderr);
}

// With tickwrap the count begins anew 20 seconds after the first call.
std::uint64_t tickCount(Processor&, const Word*) {
    constexpr DWORD kLeft = 20000;
    static const DWORD offset = Options::has("tickwrap") ? 0 - GetTickCount() - kLeft : 0;
    return GetTickCount() + offset;
}

const SystemFunction table[] = {{"sprintf", print},          {"vsprintf", printList},        {"swprintf", printWide},
                                {"GetTickCount", tickCount}, {"_getstdfilex", standardFile}, {nullptr, nullptr}};

}  // namespace

namespace CLibrary {

const SystemFunction* functions() {
    return table;
}

}  // namespace CLibrary
