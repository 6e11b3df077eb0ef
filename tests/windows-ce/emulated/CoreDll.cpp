#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <new>

#include "Kernel.h"

// The part of the device's system library that belongs to the system, for a program with one thread. The framework's
// Windows halves call these functions in the portable tests.

namespace {

constexpr int kSlots = 64;
void* slots[kSlots];
bool isSlotTaken[kSlots];
DWORD lastError = 0;

// The bytes of the western code page 1252 that are not the character of the same number. 0 stands for no character.
constexpr char16_t kWestern[32] = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                   0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                   0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                   0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char toWestern(wchar_t unit) {
    for (int i = 0; i < 32; ++i) {
        if (kWestern[i] != 0 && kWestern[i] == unit) {
            return static_cast<char>(0x80 + i);
        }
    }
    const bool isSame = unit < 0x80 || (unit >= 0xA0 && unit < 0x100) || (unit < 0xA0 && kWestern[unit - 0x80] == 0);
    return isSame ? static_cast<char>(unit) : '?';
}

wchar_t fromWestern(char byte) {
    const unsigned value = static_cast<unsigned char>(byte);
    const bool isMoved = value >= 0x80 && value < 0xA0 && kWestern[value - 0x80] != 0;
    return static_cast<wchar_t>(isMoved ? kWestern[value - 0x80] : value);
}

}  // namespace

extern "C" {

DWORD GetLastError() {
    return lastError;
}
void SetLastError(DWORD code) {
    lastError = code;
}

BOOL TerminateProcess(HANDLE, DWORD code) {
    Kernel::exit(static_cast<int>(code));
}

void OutputDebugStringW(const wchar_t*) {}

// The time is always 3 July 2003, 14:07:09.
void GetSystemTime(SYSTEMTIME* time) {
    *time = {2003, 7, 4, 3, 14, 7, 9, 0};
}
BOOL SystemTimeToFileTime(const SYSTEMTIME*, FILETIME* fileTime) {
    constexpr std::uint64_t kCount = 127017148290000000;
    *fileTime = {static_cast<DWORD>(kCount), static_cast<DWORD>(kCount >> 32)};
    return TRUE;
}
void GetLocalTime(SYSTEMTIME* time) {
    GetSystemTime(time);
}
DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* zone) {
    *zone = {};
    return 0;
}
DWORD GetTickCount() {
    return 0;
}

// There is no other thread for which a wait could be.
void Sleep(DWORD) {}

HANDLE CreateSemaphoreW(void*, LONG initial, LONG, const wchar_t*) {
    return new LONG(initial);
}
BOOL ReleaseSemaphore(HANDLE semaphore, LONG count, LONG*) {
    *static_cast<LONG*>(semaphore) += count;
    return TRUE;
}
DWORD WaitForSingleObject(HANDLE semaphore, DWORD) {
    LONG& units = *static_cast<LONG*>(semaphore);
    if (units == 0) {
        return WAIT_TIMEOUT;
    }
    --units;
    return WAIT_OBJECT_0;
}
BOOL CloseHandle(HANDLE semaphore) {
    delete static_cast<LONG*>(semaphore);
    return TRUE;
}

void InitializeCriticalSection(CRITICAL_SECTION*) {}
void EnterCriticalSection(CRITICAL_SECTION*) {}
void LeaveCriticalSection(CRITICAL_SECTION*) {}
void DeleteCriticalSection(CRITICAL_SECTION*) {}

LONG InterlockedTestExchange(LONG* target, LONG oldValue, LONG newValue) {
    const LONG found = *target;
    *target = found == oldValue ? newValue : found;
    return found;
}

DWORD TlsCall(DWORD function, DWORD slot) {
    if (function != 0) {
        isSlotTaken[slot] = false;
        return TRUE;
    }
    for (DWORD i = 0; i < kSlots; ++i) {
        if (!isSlotTaken[i]) {
            isSlotTaken[i] = true;
            slots[i] = nullptr;
            return i;
        }
    }
    return TLS_OUT_OF_INDEXES;
}
void* TlsGetValue(DWORD slot) {
    return slots[slot];
}
BOOL TlsSetValue(DWORD slot, void* value) {
    slots[slot] = value;
    return TRUE;
}

int WideCharToMultiByte(UINT, DWORD, const wchar_t* text, int length, char* buffer, int size, const char*, BOOL*) {
    for (int i = 0; i < length && size != 0; ++i) {
        buffer[i] = toWestern(text[i]);
    }
    return length;
}
int MultiByteToWideChar(UINT, DWORD, const char* text, int length, wchar_t* buffer, int size) {
    for (int i = 0; i < length && size != 0; ++i) {
        buffer[i] = fromWestern(text[i]);
    }
    return length;
}

}  // extern "C"
