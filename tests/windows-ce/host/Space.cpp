#include "Space.h"

#include <windows.h>

#include <algorithm>

#include "Journal.h"
#include "Lock.h"
#include "Options.h"
#include "Watch.h"

namespace {

Lock lock;
Word inUse = 0;
Word most = 0;

Word whole() {
    constexpr Word kMegabyte = 1 << 20;
    static const Word size = Options::spaceMegabytes() * kMegabyte;
    return size;
}

std::uint64_t reserve(Processor& cpu, const Word* a) {
    if (a[0] != 0 || a[2] != MEM_RESERVE || a[3] != PAGE_NOACCESS) {
        Watch::fault(cpu, "ARGUMENT of VirtualAlloc: %x %x %x", a[0], a[2], a[3]);
    }
    if (!Space::take(a[1])) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    void* const place = VirtualAlloc(nullptr, a[1], MEM_RESERVE, PAGE_NOACCESS);
    if (place == nullptr) {
        Space::give(a[1]);
    }
    return addressOf(place);
}

std::uint64_t giveBack(Processor& cpu, const Word* a) {
    MEMORY_BASIC_INFORMATION region = {};
    (void)VirtualQuery(pointerTo<void>(a[0]), &region, sizeof region);
    if (a[1] != 0 || a[2] != MEM_RELEASE || region.State != MEM_RESERVE || addressOf(region.AllocationBase) != a[0]) {
        Watch::fault(cpu, "ARGUMENT of VirtualFree: %x %x %x", a[0], a[1], a[2]);
    }
    (void)VirtualFree(pointerTo<void>(a[0]), 0, MEM_RELEASE);
    Space::give(region.RegionSize);
    return 1;
}

const SystemFunction table[] = {{"VirtualAlloc", reserve}, {"VirtualFree", giveBack}, {nullptr, nullptr}};

}  // namespace

namespace Space {

bool take(Word bytes) {
    const Guard guard(lock);
    if (bytes > whole() - inUse) {
        return false;
    }
    inUse += bytes;
    most = std::max(most, inUse);
    return true;
}

void give(Word bytes) {
    const Guard guard(lock);
    inUse -= bytes;
}

void describe() {
    const Guard guard(lock);
    Journal::write("SPACE at most %u of %u bytes in use", most, whole());
}

const SystemFunction* functions() {
    return table;
}

}  // namespace Space
