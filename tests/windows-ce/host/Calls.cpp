#include "Calls.h"

#include <windows.h>

#include <cstring>
#include <deque>

#include "CLibrary.h"
#include "Files.h"
#include "Heap.h"
#include "Journal.h"
#include "Modules.h"
#include "Options.h"
#include "Sockets.h"
#include "Space.h"
#include "Threads.h"
#include "Watch.h"
#include "Windows.h"

namespace {

constexpr std::size_t kArguments = 16;
constexpr std::size_t kInRegisters = 4;

struct Call {
    std::string name;
    Implementation* ours;
    const void* hosts;
    bool answersDouble;  // the guest expects it in two registers, the host has it in its floating-point unit
    bool isTraced;
    LONG count;
};

// A deque, because its elements never move.
std::deque<Call> calls;

template <std::size_t Count>
bool isAmong(const char* const (&names)[Count], const std::string& name) {
    for (const char* each : names) {
        if (name == each) {
            return true;
        }
    }
    return false;
}

Implementation* findOurs(const std::string& name) {
    const SystemFunction* const tables[] = {CLibrary::functions(), Files::functions(),   Heap::functions(),
                                            Modules::functions(),  Sockets::functions(), Space::functions(),
                                            Threads::functions(),  Windows::functions()};
    for (const SystemFunction* each : tables) {
        for (; each->name != nullptr; ++each) {
            if (name == each->name) {
                return each->function;
            }
        }
    }
    return nullptr;
}

const void* findHosts(const std::string& library, const std::string& name) {
    const auto find = [&name](const char* where) {
        return reinterpret_cast<const void*>(GetProcAddress(LoadLibraryA(where), name.c_str()));
    };
    if (library == "winsock.dll") {
        return find("wsock32.dll");
    }
    if (library == "iphlpapi.dll" || library == "icmplib.dll") {
        return find("iphlpapi.dll");
    }
    for (const char* each :
         {"msvcrt.dll", "kernel32.dll", "user32.dll", "advapi32.dll", "gdi32.dll", "version.dll", "comctl32.dll"}) {
        if (const void* const found = find(each)) {
            return found;
        }
    }
    return nullptr;
}

std::uint64_t callHostForDouble(const void* function, const Word* arguments) {
    using Function = double(Word, Word, Word, Word);
    const double value = reinterpret_cast<Function*>(const_cast<void*>(function))(arguments[0], arguments[1],
                                                                                  arguments[2], arguments[3]);
    std::uint64_t result = 0;
    std::memcpy(&result, &value, sizeof result);
    return result;
}

// A call may change these registers and all flags. Here it always does.
void spoil(Processor& cpu, bool flags) {
    cpu.r[1] = 0xDEAD0001;
    cpu.r[2] = 0xDEAD0002;
    cpu.r[3] = 0xDEAD0003;
    cpu.r[12] = 0xDEAD000C;
    cpu.r[14] = 0xDEAD000E;
    cpu.n = cpu.z = cpu.c = cpu.v = flags;
}

}  // namespace

Word addCall(const std::string& library, const std::string& name) {
    std::size_t index = 0;
    while (index < calls.size() && calls[index].name != name) {
        ++index;
    }
    if (index == calls.size()) {
        static const char* const kDoubles[] = {"strtod", "atof", "wcstod"};
        static const char* const kTooMany[] = {"memcpy",
                                               "memmove",
                                               "memset",
                                               "memcmp",
                                               "memchr",
                                               "strlen",
                                               "strcmp",
                                               "strchr",
                                               "wcslen",
                                               "wcscmp",
                                               "wcschr",
                                               "malloc",
                                               "free",
                                               "htons",
                                               "ntohs",
                                               "EnterCriticalSection",
                                               "LeaveCriticalSection",
                                               "GetTickCount",
                                               "InterlockedTestExchange",
                                               "TlsGetValue",
                                               "SetLastError",
                                               "GetLastError"};
        Call call = {name, findOurs(name), nullptr, isAmong(kDoubles, name), !isAmong(kTooMany, name), 0};
        call.hosts = call.ours == nullptr ? findHosts(library, name) : nullptr;
        if (call.ours == nullptr && call.hosts == nullptr) {
            Journal::write("IMPORT that the host lacks: %s of %s", name.c_str(), library.c_str());
        }
        calls.push_back(call);
    }
    return kCallAddresses + 4 * static_cast<Word>(index);
}

void enterCall(Processor& cpu, Word address) {
    const std::size_t index = (address - kCallAddresses) / 4;
    if (address < kCallAddresses || index >= calls.size()) {
        Watch::fault(cpu, "JUMP to %08x, where nothing is", address);
    }
    Call& call = calls[index];
    Watch::checkAligned(cpu, cpu.r[13], 4, "stack pointer");
    Word arguments[kArguments];
    std::memcpy(arguments, cpu.r, kInRegisters * sizeof(Word));
    std::memcpy(arguments + kInRegisters, pointerTo<Word>(cpu.r[13]), sizeof arguments - kInRegisters * sizeof(Word));
    cpu.call = call.name.c_str();
    const LONG count = InterlockedIncrement(&call.count);
    const bool isTraced = Options::tracesCalls() && call.isTraced;
    if (isTraced) {
        Journal::write("CALL %s(%x, %x, %x, %x, %x, %x) from %x", cpu.call, arguments[0], arguments[1], arguments[2],
                       arguments[3], arguments[4], arguments[5], cpu.r[14]);
    }
    if (call.ours == nullptr && call.hosts == nullptr) {
        Watch::fault(cpu, "MISSING on this host: %s", cpu.call);
    }
    const std::uint64_t result = call.ours != nullptr ? call.ours(cpu, arguments)
                                 : call.answersDouble ? callHostForDouble(call.hosts, arguments)
                                                      : callHost(call.hosts, arguments);
    if (isTraced) {
        Journal::write("CALL %s = %x, last error %lu", cpu.call, static_cast<Word>(result), GetLastError());
    }
    cpu.call = nullptr;
    spoil(cpu, (count & 1) != 0);
    cpu.r[0] = static_cast<Word>(result);
    if (call.answersDouble) {
        cpu.r[1] = static_cast<Word>(result >> 32);
    }
}

// Some of the host's functions take their words off the stack and others do not, and the number of words differs.
// Therefore the stack pointer is saved and restored.
std::uint64_t callHost(const void* function, const Word* arguments) {
    static_assert(kArguments == 16, "as below");
    Word low = 0;
    Word high = 0;
    __asm__ volatile(
        "movl %%esp, %%ebx\n\t"
        "subl $64, %%esp\n\t"
        "andl $-16, %%esp\n\t"
        "movl %%esp, %%edi\n\t"
        "movl $16, %%ecx\n\t"
        "cld\n\t"
        "rep movsl\n\t"
        "call *%%eax\n\t"
        "movl %%ebx, %%esp\n\t"
        : "=a"(low), "=d"(high), "+S"(arguments)
        : "a"(function)
        : "ebx", "ecx", "edi", "memory", "cc");
    return static_cast<std::uint64_t>(high) << 32 | low;
}

void describeCalls() {
    for (const Call& each : calls) {
        if (each.count != 0) {
            Journal::write("CALLS %s %ld", each.name.c_str(), static_cast<long>(each.count));
        }
    }
}
