#include "SPW_CIpHelperW32.h"

#include <windows.h>

namespace {

std::atomic<std::uint32_t> currentSearch{1};

// Older devices have the echo service in a library of its own.
constexpr const wchar_t* kLibraries[] = {L"iphlpapi.dll", L"icmplib.dll", L"icmp.dll"};

void* findIn(HMODULE library, const char* function) {
// Windows CE has this function for names of both widths, each under a name of its own.
#ifdef UNDER_CE
    return reinterpret_cast<void*>(GetProcAddressA(library, function));
#else
    return reinterpret_cast<void*>(GetProcAddress(library, function));
#endif
}

}  // namespace

std::uint32_t SPW_CIpHelperW32::searches() {
    return currentSearch;
}

void SPW_CIpHelperW32::lookAgain() {
    currentSearch.fetch_add(1);
}

void* SPW_CIpHelperW32::find(const char* function) {
    for (const wchar_t* name : kLibraries) {
        const HMODULE library = LoadLibraryW(name);
        if (library == nullptr) {
            continue;
        }
        void* const address = findIn(library, function);
        if (address != nullptr) {
            return address;
        }
        (void)FreeLibrary(library);
    }
    return nullptr;
}
