#include <windows.h>

#include <new>

#include "SPW_CThreadSys.h"

namespace {

struct Start {
    void (*entry)(void*);
    void* argument;
};

#ifdef UNDER_CE
// Windows CE gives each stack the size that the program file names. It knows the flag below from version 4.0 on.
constexpr DWORD kCreationFlags = 0;
constexpr DWORD kStackInProgramFile = 64 * 1024;
// The stacks and the heap share the 32 MB of addresses of a process. A thread that took the last of them would end the
// program, which would find no memory for the next row. Addresses are left for a megabyte more than what the heap
// already has. With 130 peers it has 2 MB at most in all.
constexpr DWORD kLeftForHeap = 1024 * 1024;

bool hasRoomForStack() {
    void* const trial = VirtualAlloc(nullptr, kStackInProgramFile + kLeftForHeap, MEM_RESERVE, PAGE_NOACCESS);
    return trial != nullptr && VirtualFree(trial, 0, MEM_RELEASE);
}
#else
// The stack size is what a thread may use, not what it gets at once.
constexpr DWORD kCreationFlags = STACK_SIZE_PARAM_IS_A_RESERVATION;

bool hasRoomForStack() {
    return true;
}
#endif

DWORD WINAPI runThread(void* start) {
    const Start copy = *static_cast<Start*>(start);
    delete static_cast<Start*>(start);
    copy.entry(copy.argument);
    return 0;
}

CRITICAL_SECTION* sectionOf(SPW_Handle section) {
    return static_cast<CRITICAL_SECTION*>(section);
}

}  // namespace

SPW_Handle SPW_CThreadSys::createThread(void (*entry)(void*), void* argument) {
    Start* const start = hasRoomForStack() ? new (std::nothrow) Start{entry, argument} : nullptr;
    if (start == nullptr) {
        return nullptr;
    }
    DWORD id = 0;  // Windows 9x and CE insist on it
    const HANDLE thread = CreateThread(nullptr, kStackBytes, runThread, start, kCreationFlags, &id);
    if (thread == nullptr) {
        delete start;
    }
    return thread;
}

void SPW_CThreadSys::closeThread(SPW_Handle thread) {
    (void)CloseHandle(thread);
}

std::uint32_t SPW_CThreadSys::currentThreadId() {
    return GetCurrentThreadId();
}

// The platform serves waiters in the order in which they came. A release hands its unit to the first waiter at once.
SPW_Handle SPW_CThreadSys::createSemaphore(std::uint32_t initial, std::uint32_t maximum) {
    return CreateSemaphoreW(nullptr, static_cast<LONG>(initial), static_cast<LONG>(maximum), nullptr);
}

void SPW_CThreadSys::destroySemaphore(SPW_Handle semaphore) {
    (void)CloseHandle(semaphore);
}

bool SPW_CThreadSys::waitSemaphore(SPW_Handle semaphore, std::uint32_t timeoutMs) {
    static_assert(kSPWForever == INFINITE, "one value for no limit");
    return WaitForSingleObject(semaphore, timeoutMs) == WAIT_OBJECT_0;
}

bool SPW_CThreadSys::releaseSemaphore(SPW_Handle semaphore) {
    return ReleaseSemaphore(semaphore, 1, nullptr) != 0;
}

SPW_Handle SPW_CThreadSys::createCriticalSection() {
    CRITICAL_SECTION* const section = new CRITICAL_SECTION;
    InitializeCriticalSection(section);
    return section;
}

void SPW_CThreadSys::destroyCriticalSection(SPW_Handle section) {
    DeleteCriticalSection(sectionOf(section));
    delete sectionOf(section);
}

void SPW_CThreadSys::enterCriticalSection(SPW_Handle section) {
    EnterCriticalSection(sectionOf(section));
}

void SPW_CThreadSys::leaveCriticalSection(SPW_Handle section) {
    LeaveCriticalSection(sectionOf(section));
}

bool SPW_CThreadSys::createSlot(std::uintptr_t& slot) {
    const DWORD index = TlsAlloc();
    if (index == TLS_OUT_OF_INDEXES) {
        return false;
    }
    slot = index;
    return true;
}

void SPW_CThreadSys::destroySlot(std::uintptr_t slot) {
    (void)TlsFree(static_cast<DWORD>(slot));
}

std::intptr_t SPW_CThreadSys::slotValue(std::uintptr_t slot) {
    return reinterpret_cast<std::intptr_t>(TlsGetValue(static_cast<DWORD>(slot)));
}

void SPW_CThreadSys::setSlotValue(std::uintptr_t slot, std::intptr_t value) {
    (void)TlsSetValue(static_cast<DWORD>(slot), reinterpret_cast<void*>(value));
}
