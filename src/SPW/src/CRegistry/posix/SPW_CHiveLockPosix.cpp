#include "SPW_CHiveLockPosix.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "../../CFile/posix/SPW_CFileRightsPosix.h"
#include "../../CSysError/posix/SPW_CSysErrorPosix.h"
#include "SPW_CClockSys.h"
#include "SPW_CSysError.h"

namespace {

constexpr std::uint64_t kTicksPerMs = 10000;
// Shorter than the pause between two writes of one process, so that a waiting process finds the lock free.
constexpr std::uint32_t kAskAgainMs = 1;

// The size and the hash of a text, in one line of constant length.
std::string noteOf(const std::vector<char>& bytes) {
    std::uint64_t hash = 14695981039346656037u;
    for (const char byte : bytes) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211u;
    }
    char note[40];
    std::snprintf(note, sizeof note, "%016zx %016llx\n", bytes.size(), static_cast<unsigned long long>(hash));
    return note;
}

}  // namespace

SPW_CHiveLockPosix::SPW_CHiveLockPosix(const std::string& hiveFile)
    : m_hiveFile(hiveFile), m_path(hiveFile + ".lock") {}

SPW_Result SPW_CHiveLockPosix::acquire() {
    const std::uint64_t end = SPW_CClockSys::monotonic100ns() + kPatienceMs * kTicksPerMs;
    for (;;) {
        const SPW_Result code = m_file.isOpen() ? SPW_Result(kSysOk) : open();
        if (code != kSysOk) {
            return code;
        }
        if (flock(m_file.number(), LOCK_EX | LOCK_NB) == 0) {
            bool isOnPath = false;
            const SPW_Result lookCode = lookAtPath(isOnPath);
            if (isOnPath) {
                return kSysOk;
            }
            m_file.reset(-1);
            if (lookCode != kSysOk) {
                return lookCode;
            }
            // It was removed: another process may have made and locked a new one.
        } else if (errno != EWOULDBLOCK && errno != EINTR) {
            return SPW_CSysErrorPosix::systemCode(errno);
        }
        if (SPW_CClockSys::monotonic100ns() >= end) {
            return kSysSharingViolation;
        }
        SPW_CClockSys::sleepMs(kAskAgainMs);
    }
}

bool SPW_CHiveLockPosix::wasWritten(const std::vector<char>& bytes) const {
    const std::string expected = noteOf(bytes);
    std::string found(expected.size(), 0);
    return pread(m_file.number(), &found[0], found.size(), 0) == static_cast<ssize_t>(found.size()) &&
           found == expected;
}

// Without the note the next writer only waits longer.
void SPW_CHiveLockPosix::noteWritten(const std::vector<char>& bytes) const {
    if (isOnlyLock()) {
        const std::string note = noteOf(bytes);
        (void)!pwrite(m_file.number(), note.data(), note.size(), 0);
    }
}

// A member of a group may only be allowed to read the lock file that another member has made. That is enough for taking
// turns.
SPW_Result SPW_CHiveLockPosix::open() {
    constexpr int kFlags = O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK;
    m_file.reset(::open(m_path.c_str(), O_RDWR | kFlags | O_CREAT | O_EXCL, 0666));
    const bool isMade = m_file.isOpen();
    if (!isMade && errno == EEXIST) {
        m_file.reset(::open(m_path.c_str(), O_RDWR | kFlags));
        if (!m_file.isOpen() && errno == EACCES) {
            m_file.reset(::open(m_path.c_str(), O_RDONLY | kFlags));
        }
    }
    if (!m_file.isOpen()) {
        return SPW_CSysErrorPosix::systemCode(errno);
    }
    // Only a file that is made here changes its owner: an existing one can be another name of some other file.
    if (isMade) {
        SPW_CFileRightsPosix::giveToOwnerOfFolder(m_file.number(), m_path);
    }
    struct stat status;
    if (isMade || (isOnlyLock() && fstat(m_file.number(), &status) == 0 && status.st_uid == geteuid())) {
        const SPW_CDescriptorPosix hive(::open(m_hiveFile.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
        SPW_CFileRightsPosix::letWritersOpen(m_file.number(), hive.isOpen() ? hive.number() : m_file.number());
    }
    return kSysOk;
}

SPW_Result SPW_CHiveLockPosix::lookAtPath(bool& isOnPath) const {
    struct stat locked;
    struct stat present;
    isOnPath = false;
    if (fstat(m_file.number(), &locked) != 0) {
        return SPW_CSysErrorPosix::systemCode(errno);
    }
    if (lstat(m_path.c_str(), &present) != 0) {
        return errno == ENOENT ? SPW_Result(kSysOk) : SPW_CSysErrorPosix::systemCode(errno);
    }
    isOnPath = locked.st_dev == present.st_dev && locked.st_ino == present.st_ino;
    return kSysOk;
}

// Refuses a file that has a second name: that one is no lock.
bool SPW_CHiveLockPosix::isOnlyLock() const {
    struct stat status;
    return fstat(m_file.number(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1;
}
