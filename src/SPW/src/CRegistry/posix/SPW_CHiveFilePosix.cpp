#include "SPW_CHiveFilePosix.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "../../CApp/posix/SPW_CUserDirPosix.h"
#include "../../CFile/posix/SPW_CFileRightsPosix.h"
#include "../../CSysError/posix/SPW_CSysErrorPosix.h"
#include "SPW_CClockSys.h"
#include "SPW_CError.h"
#include "SPW_CHiveLockPosix.h"
#include "SPW_CSysError.h"

namespace {

constexpr char kModule[] = "src\\SPW\\src\\CRegistry\\posix\\SPW_CHiveFilePosix";
using Hive = SPW_CRegistrySys::Hive;
using Text = std::shared_ptr<const SPW_CRegistryText>;

constexpr std::int64_t kNsPerMs = 1000000;
constexpr std::uint64_t kTicksPerMs = 10000;  // of the monotonic clock

// The clock of file times ticks every few milliseconds. A file that is younger than this when it is read can change
// again with the same times. It can also be half of what an editor is writing.
constexpr std::int64_t kUnsettledNs = 100 * kNsPerMs;
// The coarsest file times: those of a file system that keeps no fractions of a second.
constexpr std::int64_t kCoarsestTickNs = 2000 * kNsPerMs;
constexpr std::uint32_t kLookAgainMs = 10;
constexpr int kLooks = 10;
// A file is replaced only after it has rested for so long: a copy over a slow line makes pauses.
constexpr std::uint32_t kRestMs = 3000;
// How often another writer may be faster within one edit.
constexpr int kTries = 10;
// The pause between two writes of one process, for others that wait for the lock.
constexpr std::uint32_t kPauseMs = 2;
// Far more than any hive has. Parsing takes a few times as much memory.
constexpr std::size_t kLargestFile = 16 * 1024 * 1024;
// A file that grows by less between the look at its size and the reading is still read as a whole.
constexpr std::size_t kGrowth = 4096;

SPW_Result lastCode() {
    return SPW_CSysErrorPosix::systemCode(errno);
}

const char* hiveName(Hive hive) {
    switch (hive) {
        case SPW_CRegistrySys::kClassesRoot:
            return "HKEY_CLASSES_ROOT";
        case SPW_CRegistrySys::kCurrentUser:
            return "HKEY_CURRENT_USER";
        case SPW_CRegistrySys::kLocalMachine:
            break;
    }
    return "HKEY_LOCAL_MACHINE";
}

// The folder without a slash at its end.
std::string folderOf(Hive hive) {
    const char* chosen = std::getenv("VANTIRO_REGISTRY_DIR");
    if (chosen != nullptr && chosen[0] != 0) {
        const std::string folder = chosen;
        return folder.substr(0, std::max(folder.find_last_not_of('/') + 1, std::size_t{1}));
    }
    const std::string base =
        hive == SPW_CRegistrySys::kCurrentUser ? SPW_UserDir("XDG_CONFIG_HOME", ".config") : std::string("/etc");
    return base + "/vantiro-diagnostic";
}

std::string pathOf(Hive hive) {
    return folderOf(hive) + "/" + hiveName(hive) + ".reg";
}

// The file that a link leads to. All links to it share one lock and one temporary file beside the file itself, and
// nothing replaces a link. The file need not exist.
std::string fileOf(Hive hive) {
    constexpr int kMostLinks = 40;  // as many as the system follows
    std::string path = pathOf(hive);
    char target[PATH_MAX];
    for (int links = 0; links < kMostLinks; ++links) {
        const ssize_t size = readlink(path.c_str(), target, sizeof target);
        if (size <= 0 || size == sizeof target) {
            break;
        }
        const std::string next(target, static_cast<std::size_t>(size));
        path = next[0] == '/' ? std::string() : SPW_CFileRightsPosix::folderOf(path);
        path += next;
    }
    const std::string folder = SPW_CFileRightsPosix::folderOf(path);
    char* const resolved = realpath(folder.empty() ? "." : folder.c_str(), nullptr);
    if (resolved != nullptr) {
        path.replace(0, folder.size(), std::string(resolved) + "/");
    }
    free(resolved);
    return path;
}

std::int64_t nanoseconds(const timespec& time) {
    return std::int64_t(time.tv_sec) * 1000000000 + time.tv_nsec;
}

// Which file it is and in which state. As constructed it stands for a missing file.
struct Identity {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = -1;
    std::int64_t modified = 0;
    std::int64_t changed = 0;

    Identity() = default;
    explicit Identity(const struct stat& status)
        : device(status.st_dev),
          inode(status.st_ino),
          size(status.st_size),
          modified(nanoseconds(status.st_mtim)),
          changed(nanoseconds(status.st_ctim)) {}
    bool operator==(const Identity& other) const {
        return device == other.device && inode == other.inode && isAsIn(other);
    }
    // The number of the file does not count: some network file systems make up another one for every look. A file that
    // replaces another has its own time of change.
    bool isAsIn(const Identity& other) const {
        return size == other.size && modified == other.modified && changed == other.changed;
    }
    bool exists() const { return size >= 0; }
    // Times without fractions are almost certainly those of a file system that keeps none.
    std::int64_t tickNs() const {
        return modified % kNsPerSecond == 0 && changed % kNsPerSecond == 0 ? kCoarsestTickNs : 0;
    }
    bool isSettled() const { return ageNs() > kUnsettledNs + tickNs(); }
    // A time in the future comes from another machine and says nothing.
    bool isFresh() const { return ageNs() >= 0 && !isSettled(); }
    // Whether the file was written within the last seconds. A time in the near future counts as well: the clock of a
    // file server can be a little ahead.
    bool isYoung() const { return exists() && std::abs(nowNs() - modified) < kRestMs * kNsPerMs; }

private:
    static constexpr std::int64_t kNsPerSecond = 1000000000;
    static std::int64_t nowNs() {
        timespec now = {};
        clock_gettime(CLOCK_REALTIME, &now);
        return nanoseconds(now);
    }
    std::int64_t ageNs() const { return nowNs() - std::max(modified, changed); }
};

Identity identityOf(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? Identity(status) : Identity();
}

// The result of a look at a file.
struct Look {
    Identity identity;
    Text text;
    SPW_CRegistryText::Problem problem;  // when it cannot be used
};

// What is remembered of a file. The enumeration of a long hive would parse the file for every entry otherwise.
struct Known {
    Identity identity;
    bool settled = false;
    Text text;
    Identity reported;  // the state whose problem the user has been told
    bool lockReported = false;
    bool unreadableReported = false;
};

std::mutex g_mutex;  // guards the map; not held while a file is read, locked or written, or the user is told
std::map<std::string, Known> g_known;

Text remembered(const std::string& path, const Identity& identity) {
    const std::lock_guard<std::mutex> guard(g_mutex);
    const auto it = g_known.find(path);
    const bool usable = it != g_known.end() && it->second.settled && it->second.identity == identity;
    return usable ? it->second.text : nullptr;
}

void remember(const std::string& path, const Identity& identity, bool settled, const Text& text) {
    const std::lock_guard<std::mutex> guard(g_mutex);
    Known& known = g_known[path];
    known.identity = identity;
    known.settled = settled;
    known.text = text;
}

bool isNewProblem(const std::string& path, const Identity& identity) {
    const std::lock_guard<std::mutex> guard(g_mutex);
    Known& known = g_known[path];
    if (known.reported == identity) {
        return false;
    }
    known.reported = identity;
    known.settled = false;
    known.text = nullptr;
    return true;
}

void tell(const std::string& path, std::uint32_t line, const SPW_CString& what) {
    SPW_CString message(path.c_str());
    if (line != 0) {
        message += u":";
        message += static_cast<unsigned long>(line);
    }
    message += u": ";
    message += what;
    SPW_CError::instance->userInfo(kModule, __LINE__, "SPW_CRegistry", "read", message);
}

// Tells the user once for each state of the file, and never under its lock: the user can take long to answer.
void tellProblem(const std::string& path, const Look& look) {
    if (isNewProblem(path, look.identity)) {
        const bool isUsed = look.text != nullptr;
        tell(path, look.problem.line,
             SPW_CString(look.problem.what) + (isUsed ? u". Nothing is written to it."
                                                      : u". The file is neither used nor changed until it is mended."));
    }
}

// Tells the user once that the lock is held, and again only after it has been free.
void noteLock(const std::string& path, bool isHeld) {
    {
        const std::lock_guard<std::mutex> guard(g_mutex);
        if (std::exchange(g_known[path].lockReported, isHeld) || !isHeld) {
            return;
        }
    }
    tell(path, 0, u"another program has held the lock beside this file for 2 seconds. Nothing is written to it.");
}

// Tells the user once that the system refuses to read the file, and again only after it could be read. A file without
// the right to read it is one that the user was not to have.
void noteUnreadable(const std::string& path, SPW_Result code) {
    const bool isUnreadable = code != kSysOk && code != kSysRegistryCorrupt && code != kSysAccessDenied;
    {
        const std::lock_guard<std::mutex> guard(g_mutex);
        if (std::exchange(g_known[path].unreadableReported, isUnreadable) || !isUnreadable) {
            return;
        }
    }
    tell(path, 0,
         SPW_CString(u"the file cannot be read: ") + SPW_CSysError::instance->text(code) +
             u". What is not read has its default.");
}

// Reads one byte more than the limit at most. The one byte says that the file is larger.
SPW_Result readUpTo(int file, std::size_t limit, std::vector<char>& bytes) {
    bytes.resize(limit + 1);
    std::size_t used = 0;
    while (used < bytes.size()) {
        const ssize_t size = ::read(file, bytes.data() + used, bytes.size() - used);
        if (size < 0 && errno != EINTR) {
            return lastCode();
        }
        if (size == 0) {
            break;
        }
        used += size < 0 ? 0 : static_cast<std::size_t>(size);
    }
    bytes.resize(used);
    return kSysOk;
}

// Editors and other processes can make the file grow while it is read.
SPW_Result parseFile(Hive hive, int file, Look& look) {
    if (look.identity.size > static_cast<off_t>(kLargestFile)) {
        look.problem.what = u"the file is larger than 16 megabytes";
        return kSysRegistryCorrupt;
    }
    std::vector<char> bytes;
    const SPW_Result code = readUpTo(file, static_cast<std::size_t>(look.identity.size) + kGrowth, bytes);
    if (code != kSysOk) {
        return code;
    }
    const auto parsed = std::make_shared<SPW_CRegistryText>(SPW_CString(hiveName(hive)));
    if (!parsed->parse(bytes.data(), bytes.size(), look.problem)) {
        return kSysRegistryCorrupt;
    }
    look.text = parsed;
    return kSysOk;
}

int openHive(const std::string& path) {
    return open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
}

// mayRemember: allows a text that was parsed before, if the file's times say that the file has not changed.
SPW_Result lookAt(Hive hive, const std::string& path, bool mayRemember, Look& look) {
    look = Look();
    const SPW_CDescriptorPosix file(openHive(path));
    if (!file.isOpen() && (errno == ENOENT || errno == ENOTDIR)) {
        look.text = std::make_shared<SPW_CRegistryText>(SPW_CString(hiveName(hive)));
        return kSysOk;
    }
    struct stat status;
    if (!file.isOpen() || fstat(file.number(), &status) != 0) {
        return lastCode();
    }
    if (!S_ISREG(status.st_mode)) {
        return kSysAccessDenied;
    }
    look.identity = Identity(status);
    const bool settled = look.identity.isSettled();
    look.text = mayRemember ? remembered(path, look.identity) : nullptr;
    if (look.text != nullptr) {
        return kSysOk;
    }
    const SPW_Result code = parseFile(hive, file.number(), look);
    if (code == kSysOk) {
        remember(path, look.identity, settled, look.text);
    }
    return code;
}

// Many editors empty the file and then write it. Meanwhile its content is no mistake of the user's, and its values are
// not missing.
bool mayBeHalfWritten(SPW_Result code, const Identity& identity) {
    return (code == kSysRegistryCorrupt || (code == kSysOk && identity.size == 0)) && identity.isFresh();
}

SPW_Result load(Hive hive, const std::string& path, Look& look) {
    SPW_Result code = lookAt(hive, path, true, look);
    for (int looks = 1; looks < kLooks && mayBeHalfWritten(code, look.identity); ++looks) {
        SPW_CClockSys::sleepMs(kLookAgainMs);
        code = lookAt(hive, path, true, look);
    }
    if (code == kSysRegistryCorrupt) {
        tellProblem(path, look);
    }
    noteUnreadable(path, code);
    return code;
}

// Creates the folder with all its parents.
SPW_Result makeFolder(const std::string& folder, mode_t mode) {
    if (SPW_CFileRightsPosix::makeFolder(folder, mode) || errno == EEXIST) {
        return kSysOk;
    }
    const std::size_t slash = folder.find_last_of('/');
    if (errno != ENOENT || slash == std::string::npos || slash == 0) {
        return lastCode();
    }
    const SPW_Result parent = makeFolder(folder.substr(0, slash), mode);
    if (parent != kSysOk) {
        return parent;
    }
    return SPW_CFileRightsPosix::makeFolder(folder, mode) || errno == EEXIST ? SPW_Result(kSysOk) : lastCode();
}

bool writeAll(int file, const std::vector<char>& bytes) {
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t size = ::write(file, bytes.data() + written, bytes.size() - written);
        if (size < 0 && errno != EINTR) {
            return false;
        }
        written += size < 0 ? 0 : static_cast<std::size_t>(size);
    }
    return true;
}

// A new hive has the rights that the user gives to new files. A file that is to replace another belongs to its owner
// alone until it has the other's rights.
SPW_Result writeTemporary(const std::string& temporary, int old, const std::vector<char>& bytes) {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    SPW_CDescriptorPosix file(open(temporary.c_str(), kFlags, old < 0 ? 0666 : 0600));
    if (!file.isOpen()) {
        return lastCode();
    }
    if (old < 0) {
        SPW_CFileRightsPosix::giveToOwnerOfFolder(file.number(), temporary);
    }
    const bool written = (old < 0 || SPW_CFileRightsPosix::takeOver(old, file.number())) &&
                         writeAll(file.number(), bytes) && fsync(file.number()) == 0 && file.close();
    return written ? SPW_Result(kSysOk) : lastCode();
}

// Whether the file is still the one that was read. It compares the times and all bytes, because times can be coarse.
bool isStillAs(const std::string& path, const Look& look, const std::vector<char>& read) {
    const SPW_CDescriptorPosix file(openHive(path));
    struct stat status;
    if (!file.isOpen() || fstat(file.number(), &status) != 0) {
        return !look.identity.exists() && errno == ENOENT;
    }
    std::vector<char> present;
    return look.identity.isAsIn(Identity(status)) && readUpTo(file.number(), read.size(), present) == kSysOk &&
           present == read;
}

// Replaces the hive's file by the temporary file. If there was no file before, one that has appeared meanwhile stays.
SPW_Result putInPlace(const std::string& temporary, const std::string& path, bool existed, bool& overtaken) {
    if (!existed && renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0) {
        return kSysOk;
    }
    overtaken = !existed && errno == EEXIST;
    const bool isOld = existed || errno == EINVAL || errno == ENOSYS;  // a file system without that flag
    return overtaken || (isOld && rename(temporary.c_str(), path.c_str()) == 0) ? SPW_Result(kSysOk) : lastCode();
}

// Replaces the file. The caller holds the lock, so that no other process uses the name of the temporary file. Editors
// know nothing of the lock: if the file is no longer the one that was read, `overtaken` becomes true and nothing is
// replaced.
SPW_Result save(const std::string& path, const Look& look, const std::vector<char>& read,
                const std::vector<char>& bytes, bool& overtaken) {
    const SPW_CDescriptorPosix old(look.identity.exists() ? openHive(path) : -1);
    if (old.isOpen() && access(path.c_str(), W_OK) != 0) {
        return lastCode();
    }
    const std::string temporary = path + ".tmp";
    unlink(temporary.c_str());  // what a crash may have left
    SPW_Result code = writeTemporary(temporary, old.number(), bytes);
    // Writing to the disk takes long. Between this look and the rename there is hardly time for another change.
    overtaken = code == kSysOk && !isStillAs(path, look, read);
    if (code == kSysOk && !overtaken) {
        code = putInPlace(temporary, path, old.isOpen(), overtaken);
    }
    if (code != kSysOk || overtaken) {
        unlink(temporary.c_str());
        return code;
    }
    const SPW_CDescriptorPosix folder(open(SPW_CFileRightsPosix::folderOf(path).c_str(), O_RDONLY | O_CLOEXEC));
    if (folder.isOpen()) {
        (void)fsync(folder.number());  // the new file is in place; only its safety from a power failure is less
    }
    return kSysOk;
}

using Change = std::function<SPW_Result(SPW_CRegistryText&)>;

// How an attempt to edit ended. With a result: the edit is done or has failed. Without one: the file must not be
// touched yet, or others have changed it meanwhile.
enum class Outcome { kAnswered, kWritten, kInWork, kOvertaken };

constexpr const char16_t* kInWorkText = u"somebody is writing this file";

// For an edit that has changed the text that was read into `look`, or whose answer is a failure.
SPW_Result tryChange(const std::string& path, const SPW_CHiveLockPosix& lock, SPW_Result answer,
                     const SPW_CRegistryText& edited, Look& look, Outcome& outcome) {
    std::vector<char> read;
    look.text->serialise(read);
    const bool isYoung = look.identity.isYoung();
    if (look.identity.size == 0 || (isYoung && !lock.wasWritten(read))) {
        outcome = Outcome::kInWork;
        look.problem.what = isYoung ? kInWorkText : u"the file is empty; remove it if nobody is about to fill it";
        return answer != kSysOk ? answer : SPW_Result(kSysRegistryCorrupt);
    }
    if (answer != kSysOk) {
        return answer;
    }
    std::vector<char> bytes;
    edited.serialise(bytes);
    bool overtaken = false;
    const SPW_Result code = save(path, look, read, bytes, overtaken);
    if (overtaken) {
        outcome = Outcome::kOvertaken;
        look.problem.what = kInWorkText;
        return kSysRegistryCorrupt;
    }
    if (code == kSysOk) {
        outcome = Outcome::kWritten;
        lock.noteWritten(bytes);
    }
    return code;
}

SPW_Result tryEdit(Hive hive, const std::string& path, const Change& change, Look& look, Outcome& outcome) {
    outcome = Outcome::kAnswered;
    SPW_CHiveLockPosix lock(path);
    SPW_Result code = lock.acquire();
    if (code != kSysOk) {
        return code;
    }
    code = lookAt(hive, path, false, look);
    if (code != kSysOk) {
        outcome = code == kSysRegistryCorrupt && look.identity.isYoung() ? Outcome::kInWork : Outcome::kAnswered;
        return code;
    }
    SPW_CRegistryText edited(*look.text);
    code = change(edited);
    return code == kSysOk && !edited.isChanged() ? SPW_Result(kSysOk)
                                                 : tryChange(path, lock, code, edited, look, outcome);
}

// Waits until the file has changed or has rested long enough. Returns false when the time is over, or when the file
// rests unchanged. The caller does not hold the lock.
bool waitForRest(const std::string& path, const Look& look, std::uint64_t end) {
    if (!look.identity.isYoung()) {
        return false;
    }
    do {
        if (SPW_CClockSys::monotonic100ns() >= end) {
            return false;
        }
        SPW_CClockSys::sleepMs(kLookAgainMs);
    } while (look.identity.isYoung() && look.identity == identityOf(path));
    return true;
}

}  // namespace

std::string SPW_CHiveFilePosix::path(Hive hive) {
    return pathOf(hive);
}

SPW_Result SPW_CHiveFilePosix::read(Hive hive, Text& text) {
    Look look;
    const SPW_Result code = load(hive, fileOf(hive), look);
    text = look.text;
    return code;
}

SPW_Result SPW_CHiveFilePosix::edit(Hive hive, const Change& change) {
    const std::uint64_t end = SPW_CClockSys::monotonic100ns() + kRestMs * kTicksPerMs;
    SPW_Result code = makeFolder(folderOf(hive), hive == SPW_CRegistrySys::kCurrentUser ? 0700 : 0755);
    if (code != kSysOk) {
        return code;
    }
    const std::string path = fileOf(hive);
    Look look;
    Outcome outcome = Outcome::kAnswered;
    int overtakings = 0;
    do {
        code = tryEdit(hive, path, change, look, outcome);
    } while ((outcome == Outcome::kOvertaken && ++overtakings < kTries) ||
             (outcome == Outcome::kInWork && waitForRest(path, look, end)));
    noteLock(path, code == kSysSharingViolation);
    if (code == kSysRegistryCorrupt) {
        tellProblem(path, look);
    }
    if (outcome == Outcome::kWritten) {
        SPW_CClockSys::sleepMs(kPauseMs);
    }
    return code;
}
