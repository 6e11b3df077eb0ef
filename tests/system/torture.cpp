// Loaded before a program's libraries, this lets one call of the program fail, or all from one on, as a system without
// memory, descriptors, threads or room would. tools/torture drives it and says which call it is.
//
// The environment:
//   TORTURE_RECORD    a file of sizeof(Record) bytes, into which all of this is written at once, so that a crash loses
//                     nothing of it
//   TORTURE_KIND      which calls are counted: "memory", "calls" (of the system), "interrupts" (calls that a signal may
//                     interrupt) or "pieces" (calls that may take or give less than was asked for)
//   TORTURE_CALL      the number of the call that fails, from 1; 0 or nothing: none
//   TORTURE_SITE      the key of a place: only its calls are counted then
//   TORTURE_FUNCTION  the name of a function: only its calls are counted then
//   TORTURE_FOR_GOOD  1: later ones fail, too: each call for memory; of what runs out (descriptors, threads, the
//                     system's own memory) each call of that function; of all else those at the same place
//
// Counting begins when the C library starts the program: its static objects belong to it, the loader's work does not.

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <netdb.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

enum Kind { kMemory, kCalls, kInterrupts, kPieces };

constexpr int kSites = 8192;
constexpr int kFrames = 32;
constexpr int kNameBytes = 32;
// Addresses of the program itself are told from its beginning; all others have this bit.
constexpr std::uint64_t kElsewhere = std::uint64_t{1} << 63;

// tools/torture reads both of these.
struct Site {
    std::atomic<std::uint64_t> key;  // 0 while the place is free
    std::uint64_t address;
    std::atomic<std::uint64_t> calls;
    char function[kNameBytes];
};
struct Record {
    std::atomic<std::uint64_t> counted;
    std::atomic<std::uint64_t> refused;
    std::uint64_t refusedAtNs;  // of the first refusal, as all below; on the monotonic clock
    std::uint64_t refusedSite;  // its key
    std::uint64_t frameCount;
    std::uint64_t frames[kFrames];
    char function[kNameBytes];
    Site sites[kSites];
};

Record* record = nullptr;
std::uint64_t programBegin = 0;
std::uint64_t programEnd = 0;
Kind kind = kCalls;
std::uint64_t wantedCall = 0;
std::uint64_t wantedSite = 0;
const char* wantedFunction = nullptr;
bool isForGood = false;
std::atomic<bool> isOn{false};
// What is done here to take notes must not count itself.
__attribute__((tls_model("initial-exec"))) thread_local bool isTakingNotes = false;

extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);

template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

std::uint64_t placeOf(const void* address) {
    const auto number = reinterpret_cast<std::uint64_t>(address);
    return number >= programBegin && number < programEnd ? number - programBegin : number | kElsewhere;
}

std::uint64_t hashOf(const char* text) {
    std::uint64_t hash = 14695981039346656037u;
    for (; *text != 0; ++text) {
        hash = (hash ^ static_cast<unsigned char>(*text)) * 1099511628211u;
    }
    return hash;
}

// A call that is a function's last step returns to that function's caller, so several functions may share a place.
std::uint64_t keyOf(std::uint64_t place, const char* function) {
    return (place & 0xFFFFFFFFFFFF) | (hashOf(function) & 0xFFFF) << 48;
}

std::uint64_t noteSite(const void* caller, const char* function) {
    const std::uint64_t place = placeOf(caller);
    const std::uint64_t key = keyOf(place, function);
    for (std::uint64_t i = 0; i < kSites; ++i) {
        Site& site = record->sites[(key * 0x9E3779B97F4A7C15u + i) % kSites];
        std::uint64_t found = 0;
        if (site.key.compare_exchange_strong(found, key)) {
            site.address = place;
            std::strncpy(site.function, function, kNameBytes - 1);
            found = key;
        }
        if (found == key) {
            site.calls.fetch_add(1);
            break;
        }
    }
    return key;
}

void noteRefusal(const char* function, std::uint64_t key) {
    if (record->refused.fetch_add(1) != 0) {
        return;
    }
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    record->refusedSite = key;
    std::strncpy(record->function, function, kNameBytes - 1);
    void* frames[kFrames];
    isTakingNotes = true;
    const int count = backtrace(frames, kFrames);
    isTakingNotes = false;
    for (int i = 0; i < count; ++i) {
        record->frames[i] = placeOf(frames[i]);
    }
    record->frameCount = static_cast<std::uint64_t>(count);
    record->refusedAtNs = static_cast<std::uint64_t>(now.tv_sec) * 1000000000 + static_cast<std::uint64_t>(now.tv_nsec);
}

// What a whole system lacks is lacking everywhere; any other failure stays at its place.
bool isShortage(int error) {
    return error == EMFILE || error == EAGAIN || error == ENOMEM || error == ENOBUFS;
}

bool isLikeTheFirst(Kind of, const char* function, std::uint64_t key, int error) {
    return of == kMemory || key == record->refusedSite ||
           (isShortage(error) && std::strncmp(record->function, function, kNameBytes - 1) == 0);
}

// Counts a call. Whether it is to fail.
bool isRefused(Kind of, const char* function, std::uint64_t key, int error) {
    if (of != kind || (wantedSite != 0 && key != wantedSite) ||
        (wantedFunction != nullptr && std::strcmp(function, wantedFunction) != 0)) {
        return false;
    }
    const std::uint64_t number = record->counted.fetch_add(1) + 1;
    const bool isLater = isForGood && wantedCall != 0 && number > wantedCall;
    const bool isWanted = number == wantedCall || (isLater && isLikeTheFirst(of, function, key, error));
    if (isWanted) {
        noteRefusal(function, key);
    }
    return isWanted;
}

bool isCounting() {
    return isOn.load(std::memory_order_relaxed) && !isTakingNotes;
}

bool isMemoryRefused(const char* function, const void* caller) {
    return isCounting() && isRefused(kMemory, function, noteSite(caller, function), ENOMEM);
}

// mayBeInterrupted: whether a signal can end the call before it has done anything. Returns 0 or the error number.
int refusalOf(const char* function, const void* caller, int error, bool mayBeInterrupted) {
    if (!isCounting()) {
        return 0;
    }
    const std::uint64_t key = noteSite(caller, function);
    if (mayBeInterrupted && isRefused(kInterrupts, function, key, EINTR)) {
        return EINTR;
    }
    return isRefused(kCalls, function, key, error) ? error : 0;
}

int statusOf(int descriptor, struct stat& status) {
    static auto* const original = next<int(int, struct stat*)>("fstat");
    return original(descriptor, &status);
}

// The kernel keeps counters and the like in its memory: to read or write one does not fail.
bool canFail(int descriptor) {
    struct stat status;
    return statusOf(descriptor, status) != 0 || (status.st_mode & S_IFMT) != 0;
}

// Files, pipes and connections may take or give a part. Datagrams come whole.
bool mayComeInPieces(int descriptor) {
    struct stat status;
    if (statusOf(descriptor, status) != 0) {
        return false;
    }
    int type = 0;
    socklen_t size = sizeof type;
    return S_ISREG(status.st_mode) || S_ISFIFO(status.st_mode) ||
           (S_ISSOCK(status.st_mode) &&
            next<int(int, int, int, void*, socklen_t*)>("getsockopt")(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) ==
                0 &&
            type == SOCK_STREAM);
}

// How many of the bytes the call is allowed.
std::size_t pieceOf(std::size_t count, int descriptor, const char* function, const void* caller) {
    if (kind != kPieces || !isCounting() || count < 2 || !mayComeInPieces(descriptor)) {
        return count;
    }
    const std::uint64_t key = keyOf(placeOf(caller), function);
    return isRefused(kPieces, function, key, 0) ? 1 : count;
}

std::uint64_t numberIn(const char* name, int base) {
    const char* const text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, base) : 0;
}

Kind kindIn(const char* name) {
    const char* const text = std::getenv(name);
    const char* const names[] = {"memory", "calls", "interrupts", "pieces"};
    for (int i = 0; i < 4; ++i) {
        if (text != nullptr && std::strcmp(text, names[i]) == 0) {
            return static_cast<Kind>(i);
        }
    }
    return kCalls;
}

// The first of the loaded objects is the program.
int noteProgram(dl_phdr_info* info, std::size_t, void*) {
    programBegin = info->dlpi_addr;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& part = info->dlpi_phdr[i];
        if (part.p_type == PT_LOAD && programBegin + part.p_vaddr + part.p_memsz > programEnd) {
            programEnd = programBegin + part.p_vaddr + part.p_memsz;
        }
    }
    return 1;
}

void openRecord() {
    const char* const path = std::getenv("TORTURE_RECORD");
    const int file = path != nullptr ? next<int(const char*, int, int)>("open")(path, O_RDWR | O_CLOEXEC, 0) : -1;
    if (file < 0) {
        return;
    }
    void* const memory = mmap(nullptr, sizeof(Record), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    (void)next<int(int)>("close")(file);
    record = memory != MAP_FAILED ? static_cast<Record*>(memory) : nullptr;
}

void begin() {
    openRecord();
    dl_iterate_phdr(noteProgram, nullptr);
    kind = kindIn("TORTURE_KIND");
    wantedCall = numberIn("TORTURE_CALL", 10);
    wantedSite = numberIn("TORTURE_SITE", 16);
    wantedFunction = std::getenv("TORTURE_FUNCTION");
    isForGood = numberIn("TORTURE_FOR_GOOD", 10) != 0;
    void* frames[kFrames];
    (void)backtrace(frames, kFrames);  // loads what it needs
    isOn = record != nullptr;
}

}  // namespace

// Each function below has another name here than in the C library, whose headers say things about its own names that do
// not hold for these.
#define NAMED(name) __asm__(#name)
#define CALLER __builtin_return_address(0)

using Main = int(int, char**, char**);
using Start = int(Main*, int, char**, Main*, void (*)(), void (*)(), void*);
extern "C" Start torturedStart NAMED(__libc_start_main);
extern "C" int torturedStart(Main* main, int count, char** words, Main* first, void (*last)(), void (*loader)(),
                             void* stack) {
    begin();
    return next<Start>("__libc_start_main")(main, count, words, first, last, loader, stack);
}

// --- Memory

extern "C" void* torturedMalloc(std::size_t size) NAMED(malloc);
extern "C" void* torturedMalloc(std::size_t size) {
    if (isMemoryRefused("malloc", CALLER)) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_malloc(size);
}

extern "C" void* torturedCalloc(std::size_t count, std::size_t size) NAMED(calloc);
extern "C" void* torturedCalloc(std::size_t count, std::size_t size) {
    if (isMemoryRefused("calloc", CALLER)) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_calloc(count, size);
}

extern "C" void* torturedRealloc(void* memory, std::size_t size) NAMED(realloc);
extern "C" void* torturedRealloc(void* memory, std::size_t size) {
    if (isMemoryRefused("realloc", CALLER)) {
        errno = ENOMEM;
        return nullptr;
    }
    return __libc_realloc(memory, size);
}

namespace {

// As the standard wants it: the handler is asked for more until there is none. Tells whether there is memory then.
bool getsMemory(const char* function, const void* caller) {
    while (isMemoryRefused(function, caller)) {
        const std::new_handler handler = std::get_new_handler();
        if (handler == nullptr) {
            return false;
        }
        handler();
    }
    return true;
}

void* allocate(std::size_t size, const char* function, const void* caller) {
    return getsMemory(function, caller) ? __libc_malloc(size != 0 ? size : 1) : nullptr;
}

void* allocateOrThrow(std::size_t size, const char* function, const void* caller) {
    void* const memory = allocate(size, function, caller);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* allocateAligned(std::size_t size, std::size_t alignment, const char* function, const void* caller) {
    const std::size_t whole = (size + alignment - 1) / alignment * alignment;
    return getsMemory(function, caller) ? aligned_alloc(alignment, whole) : nullptr;
}

}  // namespace

void* operator new(std::size_t size) {
    return allocateOrThrow(size, "_Znwm", CALLER);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size, "_Znam", CALLER);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, "_ZnwmRKSt9nothrow_t", CALLER);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size, "_ZnamRKSt9nothrow_t", CALLER);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocateAligned(size, static_cast<std::size_t>(alignment), "_ZnamSt11align_val_tRKSt9nothrow_t", CALLER);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    std::free(memory);
}

// --- Calls of the system: TORTURED(type, name, parameters, arguments, error number, interruptible, how it is told)

#define TOLD_BY(value) (errno = torturedBy, value)
#define TOLD_AS_RESULT torturedBy
#define TORTURED(type, name, parameters, arguments, error, interruptible, told)      \
    extern "C" type tortured_##name parameters NAMED(name);                          \
    extern "C" type tortured_##name parameters {                                     \
        static auto* const original = next<type parameters>(#name);                  \
        if (const int torturedBy = refusalOf(#name, CALLER, error, interruptible)) { \
            return told;                                                             \
        }                                                                            \
        return original arguments;                                                   \
    }
#define MINUS_ONE TOLD_BY(-1)
#define NOTHING TOLD_BY(nullptr)

struct pollfd;
struct epoll_event;
struct ifaddrs;
struct passwd;
struct rlimit;
struct statx;
struct termios;

// Threads.
TORTURED(int, pthread_create, (pthread_t * thread, const pthread_attr_t* attributes, void* (*entry)(void*), void* own),
         (thread, attributes, entry, own), EAGAIN, false, TOLD_AS_RESULT)
TORTURED(int, pthread_key_create, (pthread_key_t * key, void (*end)(void*)), (key, end), EAGAIN, false, TOLD_AS_RESULT)
TORTURED(int, pthread_setspecific, (pthread_key_t key, const void* value), (key, value), ENOMEM, false, TOLD_AS_RESULT)

// Sockets.
TORTURED(int, socket, (int domain, int type, int protocol), (domain, type, protocol), EMFILE, false, MINUS_ONE)
TORTURED(int, bind, (int socket, const sockaddr* address, socklen_t size), (socket, address, size), EADDRINUSE, false,
         MINUS_ONE)
TORTURED(int, listen, (int socket, int backlog), (socket, backlog), EADDRINUSE, false, MINUS_ONE)
TORTURED(int, accept4, (int socket, sockaddr* address, socklen_t* size, int flags), (socket, address, size, flags),
         EMFILE, true, MINUS_ONE)
TORTURED(int, connect, (int socket, const sockaddr* address, socklen_t size), (socket, address, size), ENETUNREACH,
         true, MINUS_ONE)
TORTURED(ssize_t, sendto,
         (int socket, const void* bytes, size_t count, int flags, const sockaddr* address, socklen_t size),
         (socket, bytes, count, flags, address, size), ENOBUFS, true, MINUS_ONE)
TORTURED(ssize_t, sendmsg, (int socket, const msghdr* message, int flags), (socket, message, flags), ENOBUFS, true,
         MINUS_ONE)
TORTURED(ssize_t, recvfrom, (int socket, void* bytes, size_t count, int flags, sockaddr* address, socklen_t* size),
         (socket, bytes, count, flags, address, size), ENOMEM, true, MINUS_ONE)
TORTURED(ssize_t, __recvfrom_chk,
         (int socket, void* bytes, size_t count, size_t room, int flags, sockaddr* address, socklen_t* size),
         (socket, bytes, count, room, flags, address, size), ENOMEM, true, MINUS_ONE)
TORTURED(ssize_t, recvmsg, (int socket, msghdr* message, int flags), (socket, message, flags), ENOMEM, true, MINUS_ONE)
// Not shutdown: the kernel wakes the readers of a socket even if it has no connection and is refused.
TORTURED(int, setsockopt, (int socket, int level, int option, const void* value, socklen_t size),
         (socket, level, option, value, size), ENOBUFS, false, MINUS_ONE)
TORTURED(int, getsockopt, (int socket, int level, int option, void* value, socklen_t* size),
         (socket, level, option, value, size), ENOBUFS, false, MINUS_ONE)
TORTURED(int, getsockname, (int socket, sockaddr* address, socklen_t* size), (socket, address, size), ENOBUFS, false,
         MINUS_ONE)

// What waits.
TORTURED(int, poll, (pollfd * entries, unsigned long count, int timeout), (entries, count, timeout), ENOMEM, true,
         MINUS_ONE)
TORTURED(int, __poll_chk, (pollfd * entries, unsigned long count, int timeout, size_t room),
         (entries, count, timeout, room), ENOMEM, true, MINUS_ONE)
TORTURED(int, epoll_create1, (int flags), (flags), EMFILE, false, MINUS_ONE)
TORTURED(int, epoll_ctl, (int watch, int change, int descriptor, epoll_event* event),
         (watch, change, descriptor, event), ENOSPC, false, MINUS_ONE)
TORTURED(int, epoll_wait, (int watch, epoll_event* events, int room, int timeout), (watch, events, room, timeout),
         ENOMEM, true, MINUS_ONE)
TORTURED(int, eventfd, (unsigned value, int flags), (value, flags), EMFILE, false, MINUS_ONE)
TORTURED(int, signalfd, (int descriptor, const void* signals, int flags), (descriptor, signals, flags), EMFILE, false,
         MINUS_ONE)
TORTURED(int, clock_nanosleep, (clockid_t clock, int flags, const timespec* time, timespec* left),
         (clock, flags, time, left), ENOMEM, true, TOLD_AS_RESULT)

// Names and interfaces.
TORTURED(int, getaddrinfo, (const char* name, const char* service, const addrinfo* hints, addrinfo** list),
         (name, service, hints, list), EAI_MEMORY, false, TOLD_AS_RESULT)
TORTURED(int, getifaddrs, (ifaddrs * *list), (list), ENOMEM, false, MINUS_ONE)
TORTURED(unsigned, if_nametoindex, (const char* name), (name), ENODEV, false, TOLD_BY(0))
TORTURED(int, gethostname, (char* name, size_t size), (name, size), ENAMETOOLONG, false, MINUS_ONE)
TORTURED(int, __gethostname_chk, (char* name, size_t size, size_t room), (name, size, room), ENAMETOOLONG, false,
         MINUS_ONE)
TORTURED(int, getpwuid_r, (uid_t user, passwd* entry, char* room, size_t size, passwd** found),
         (user, entry, room, size, found), EMFILE, false, TOLD_AS_RESULT)

// Files.
TORTURED(int, open, (const char* path, int flags, mode_t mode), (path, flags, mode), EMFILE, true, MINUS_ONE)
TORTURED(int, open64, (const char* path, int flags, mode_t mode), (path, flags, mode), EMFILE, true, MINUS_ONE)
TORTURED(int, __open_2, (const char* path, int flags), (path, flags), EMFILE, true, MINUS_ONE)
TORTURED(int, mkostemp, (char* path, int flags), (path, flags), EMFILE, false, MINUS_ONE)
TORTURED(int, memfd_create, (const char* name, unsigned flags), (name, flags), EMFILE, false, MINUS_ONE)
TORTURED(int, dup, (int descriptor), (descriptor), EMFILE, false, MINUS_ONE)
TORTURED(int, dup2, (int descriptor, int other), (descriptor, other), EMFILE, false, MINUS_ONE)
TORTURED(int, fcntl, (int descriptor, int command, long argument), (descriptor, command, argument), ENOLCK, false,
         MINUS_ONE)
TORTURED(ssize_t, pread, (int descriptor, void* bytes, size_t count, off_t place), (descriptor, bytes, count, place),
         EIO, true, MINUS_ONE)
TORTURED(ssize_t, __pread_chk, (int descriptor, void* bytes, size_t count, off_t place, size_t room),
         (descriptor, bytes, count, place, room), EIO, true, MINUS_ONE)
TORTURED(ssize_t, pwrite, (int descriptor, const void* bytes, size_t count, off_t place),
         (descriptor, bytes, count, place), ENOSPC, true, MINUS_ONE)
TORTURED(int, fsync, (int descriptor), (descriptor), EIO, true, MINUS_ONE)
TORTURED(int, fdatasync, (int descriptor), (descriptor), EIO, true, MINUS_ONE)
TORTURED(int, ftruncate, (int descriptor, off_t size), (descriptor, size), EIO, true, MINUS_ONE)
TORTURED(off_t, lseek, (int descriptor, off_t place, int from), (descriptor, place, from), EIO, false, MINUS_ONE)
TORTURED(int, flock, (int descriptor, int how), (descriptor, how), ENOLCK, true, MINUS_ONE)
TORTURED(int, futimens, (int descriptor, const timespec* times), (descriptor, times), EPERM, false, MINUS_ONE)
TORTURED(int, fchmod, (int descriptor, mode_t mode), (descriptor, mode), EPERM, false, MINUS_ONE)
TORTURED(int, fchown, (int descriptor, uid_t user, gid_t group), (descriptor, user, group), EPERM, false, MINUS_ONE)
TORTURED(int, chmod, (const char* path, mode_t mode), (path, mode), EPERM, false, MINUS_ONE)
TORTURED(int, chown, (const char* path, uid_t user, gid_t group), (path, user, group), EPERM, false, MINUS_ONE)
TORTURED(ssize_t, fgetxattr, (int descriptor, const char* name, void* value, size_t size),
         (descriptor, name, value, size), EIO, false, MINUS_ONE)
TORTURED(ssize_t, flistxattr, (int descriptor, char* names, size_t size), (descriptor, names, size), EIO, false,
         MINUS_ONE)
TORTURED(int, fsetxattr, (int descriptor, const char* name, const void* value, size_t size, int flags),
         (descriptor, name, value, size, flags), ENOSPC, false, MINUS_ONE)
TORTURED(int, fremovexattr, (int descriptor, const char* name), (descriptor, name), EIO, false, MINUS_ONE)
TORTURED(int, stat, (const char* path, struct stat* status), (path, status), EIO, false, MINUS_ONE)
TORTURED(int, lstat, (const char* path, struct stat* status), (path, status), EIO, false, MINUS_ONE)
TORTURED(int, fstat, (int descriptor, struct stat* status), (descriptor, status), EIO, false, MINUS_ONE)
TORTURED(int, statx, (int folder, const char* path, int flags, unsigned mask, struct statx* status),
         (folder, path, flags, mask, status), EIO, false, MINUS_ONE)
TORTURED(int, access, (const char* path, int mode), (path, mode), EIO, false, MINUS_ONE)
TORTURED(ssize_t, readlink, (const char* path, char* target, size_t size), (path, target, size), EIO, false, MINUS_ONE)
TORTURED(ssize_t, __readlink_chk, (const char* path, char* target, size_t size, size_t room),
         (path, target, size, room), EIO, false, MINUS_ONE)
TORTURED(char*, realpath, (const char* path, char* whole), (path, whole), ENOMEM, false, NOTHING)
TORTURED(char*, __realpath_chk, (const char* path, char* whole, size_t room), (path, whole, room), ENOMEM, false,
         NOTHING)
TORTURED(void*, opendir, (const char* path), (path), EMFILE, false, NOTHING)
TORTURED(void*, readdir, (void* folder), (folder), EIO, false, NOTHING)
TORTURED(int, mkdir, (const char* path, mode_t mode), (path, mode), ENOSPC, false, MINUS_ONE)
TORTURED(int, rmdir, (const char* path), (path), EIO, false, MINUS_ONE)
TORTURED(int, unlink, (const char* path), (path), EIO, false, MINUS_ONE)
TORTURED(int, rename, (const char* from, const char* to), (from, to), EIO, false, MINUS_ONE)
TORTURED(int, renameat2, (int folder, const char* from, int other, const char* to, unsigned flags),
         (folder, from, other, to, flags), EIO, false, MINUS_ONE)
TORTURED(size_t, fwrite, (const void* bytes, size_t size, size_t count, void* file), (bytes, size, count, file), EIO,
         false, TOLD_BY(0))
TORTURED(int, fflush, (void* file), (file), EIO, false, MINUS_ONE)

// The process.
TORTURED(int, ioctl, (int descriptor, unsigned long request, void* argument), (descriptor, request, argument), EIO,
         false, MINUS_ONE)
TORTURED(int, getrlimit, (int resource, rlimit* limit), (resource, limit), EPERM, false, MINUS_ONE)
TORTURED(int, setrlimit, (int resource, const rlimit* limit), (resource, limit), EPERM, false, MINUS_ONE)
TORTURED(ssize_t, getrandom, (void* bytes, size_t count, unsigned flags), (bytes, count, flags), EAGAIN, true,
         MINUS_ONE)
TORTURED(int, prctl, (int option, unsigned long a, unsigned long b, unsigned long c, unsigned long d),
         (option, a, b, c, d), EPERM, false, MINUS_ONE)
TORTURED(int, sigaltstack, (const void* fresh, void* former), (fresh, former), ENOMEM, false, MINUS_ONE)
TORTURED(int, tcgetattr, (int terminal, termios* settings), (terminal, settings), EIO, false, MINUS_ONE)
TORTURED(int, tcsetattr, (int terminal, int when, const termios* settings), (terminal, when, settings), EIO, true,
         MINUS_ONE)
TORTURED(void*, iconv_open, (const char* to, const char* from), (to, from), EMFILE, false,
         TOLD_BY(reinterpret_cast<void*>(-1)))
TORTURED(void*, newlocale, (int mask, const char* name, void* base), (mask, name, base), ENOMEM, false, NOTHING)
TORTURED(char*, setlocale, (int category, const char* name), (category, name), ENOMEM, false, NOTHING)

// --- Calls that may also take or give a part only

#define TORTURED_PART(name, parameters, arguments, descriptor, count, error)                          \
    extern "C" ssize_t tortured_##name parameters NAMED(name);                                        \
    extern "C" ssize_t tortured_##name parameters {                                                   \
        static auto* const original = next<ssize_t parameters>(#name);                                \
        if (const int torturedBy = canFail(descriptor) ? refusalOf(#name, CALLER, error, true) : 0) { \
            return MINUS_ONE;                                                                         \
        }                                                                                             \
        count = pieceOf(count, descriptor, #name, CALLER);                                            \
        return original arguments;                                                                    \
    }

TORTURED_PART(read, (int descriptor, void* bytes, size_t count), (descriptor, bytes, count), descriptor, count, EIO)
TORTURED_PART(__read_chk, (int descriptor, void* bytes, size_t count, size_t room), (descriptor, bytes, count, room),
              descriptor, count, EIO)
TORTURED_PART(write, (int descriptor, const void* bytes, size_t count), (descriptor, bytes, count), descriptor, count,
              ENOSPC)
TORTURED_PART(send, (int socket, const void* bytes, size_t count, int flags), (socket, bytes, count, flags), socket,
              count, ECONNRESET)
TORTURED_PART(recv, (int socket, void* bytes, size_t count, int flags), (socket, bytes, count, flags), socket, count,
              ECONNRESET)
TORTURED_PART(__recv_chk, (int socket, void* bytes, size_t count, size_t room, int flags),
              (socket, bytes, count, room, flags), socket, count, ECONNRESET)

// --- Long waits for messages are short here: a listener that waits five seconds for a group would make a test long

namespace {

constexpr timespec kLongest = {0, 150 * 1000000};

const timespec* shortened(const timespec* timeout) {
    return timeout != nullptr && timeout->tv_sec >= 2 ? &kLongest : timeout;
}

}  // namespace

#define TORTURED_WAIT(name, parameters, arguments)                           \
    extern "C" int tortured_##name parameters NAMED(name);                   \
    extern "C" int tortured_##name parameters {                              \
        static auto* const original = next<int parameters>(#name);           \
        if (const int torturedBy = refusalOf(#name, CALLER, ENOMEM, true)) { \
            return MINUS_ONE;                                                \
        }                                                                    \
        timeout = isOn ? shortened(timeout) : timeout;                       \
        return original arguments;                                           \
    }

TORTURED_WAIT(ppoll, (pollfd * entries, unsigned long count, const timespec* timeout, const void* signals),
              (entries, count, timeout, signals))
TORTURED_WAIT(__ppoll_chk,
              (pollfd * entries, unsigned long count, const timespec* timeout, const void* signals, size_t room),
              (entries, count, timeout, signals, room))

// --- A call that ends the descriptor whatever it answers

extern "C" int torturedClose(int descriptor) NAMED(close);
extern "C" int torturedClose(int descriptor) {
    static auto* const original = next<int(int)>("close");
    const int torturedBy = refusalOf("close", CALLER, EIO, false);
    const int result = original(descriptor);
    return torturedBy != 0 ? MINUS_ONE : result;
}
