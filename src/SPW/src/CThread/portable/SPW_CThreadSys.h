#pragma once

#include <cstdint>

#include "SPW_Types.h"

// What a platform half gives SPW_CThread, SPW_CThreadMessageQueue, SPW_CCriticalSection and SPW_CThreadSlot.
// Any thread may call every function. A handle is null when the platform had none to give; no function but
// the destroying ones takes a null handle.
namespace SPW_CThreadSys {

// Room that a thread's own calls have on its stack. What the platform's library needs comes on top. It is small, since
// thousands of threads stand side by side. Measured on x86-64 Linux: the threads of a running test touch 8 KiB of their
// stacks, and up to 28 KiB if the test logs every packet and reports errors. The rest is for larger frames: of
// sanitizers, of name look-ups, of other platforms' libraries.
constexpr std::uint32_t kStackBytes = 192 * 1024;

// Starts a thread that runs entry(argument) at once. Null when the platform has no thread left.
SPW_Handle createThread(void (*entry)(void*), void* argument);
// Lets go of the handle; the thread, running or ended, is not waited for and cleans up after itself.
void closeThread(SPW_Handle thread);
// Number of the calling thread, unique among the threads of the system that are alive.
std::uint32_t currentThreadId();

// Counting semaphore, 0 <= initial <= maximum and maximum > 0, else null.
//
// Waiters are served first come, first served: a release hands its unit to the longest waiter and nobody can
// overtake it. The pause gate of SPW_CThread depends on that: its loop releases the lock and takes it again at once.
SPW_Handle createSemaphore(std::uint32_t initial, std::uint32_t maximum);
// No thread waits on it any more. A thread that is about to return from releaseSemaphore may still be inside.
void destroySemaphore(SPW_Handle semaphore);
// Takes one unit; blocks until there is one. False when timeoutMs passed without one; kSPWForever: no limit.
bool waitSemaphore(SPW_Handle semaphore, std::uint32_t timeoutMs);
// Gives one unit back and wakes one waiter. Never blocks. At the maximum it changes nothing and returns false.
bool releaseSemaphore(SPW_Handle semaphore);

SPW_Handle createCriticalSection();
void destroyCriticalSection(SPW_Handle section);
// Blocks until no other thread is inside.
void enterCriticalSection(SPW_Handle section);
void leaveCriticalSection(SPW_Handle section);

// Thread-local slots: false when the process has used them up. A fresh slot holds 0 in every thread.
bool createSlot(std::uintptr_t& slot);
void destroySlot(std::uintptr_t slot);
std::intptr_t slotValue(std::uintptr_t slot);
void setSlotValue(std::uintptr_t slot, std::intptr_t value);

}  // namespace SPW_CThreadSys
