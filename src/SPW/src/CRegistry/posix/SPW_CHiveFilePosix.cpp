#include "SPW_CHiveFilePosix.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "../../CApp/posix/SPW_CUserDirPosix.h"
#include "../../CSysError/posix/SPW_CSysErrorPosix.h"
#include "SPW_CClockSys.h"
#include "SPW_CError.h"
#include "SPW_CSysError.h"

namespace {

constexpr char kModule[] = "src\\SPW\\src\\CRegistry\\posix\\SPW_CHiveFilePosix";
using Hive = SPW_CRegistrySys::Hive;
using Text = std::shared_ptr<const SPW_CRegistryText>;

// The clock of file times ticks every few milliseconds: a file that is younger than this when it is read may
// change once more without showing it, and may be half of what an editor is about to write.
constexpr std::int64_t kUnsettledNs = 100000000;
constexpr std::uint32_t kLookAgainMs = 10;
constexpr int kLooks = 10;

class Descriptor {
public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() {
        if (m_number >= 0) {
            ::close(m_number);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int number() const { return m_number; }
    bool isOpen() const { return m_number >= 0; }
    // Some file systems tell only now that the disk is full.
    bool close() { return ::close(std::exchange(m_number, -1)) == 0; }

private:
    int m_number;
};

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

std::string folderOf(Hive hive) {
    const char* chosen = std::getenv("VANTIRO_REGISTRY_DIR");
    if (chosen != nullptr && chosen[0] != 0) {
        return chosen;
    }
    const std::string base =
        hive == SPW_CRegistrySys::kCurrentUser ? SPW_UserDir("XDG_CONFIG_HOME", ".config") : std::string("/etc");
    return base + "/vantiro-diagnostic";
}

std::string pathOf(Hive hive) {
    return folderOf(hive) + "/" + hiveName(hive) + ".reg";
}

// The file itself where the path is a link, so that all who come to it by links of their own share one lock and one
// temporary file, beside it.
std::string fileOf(Hive hive) {
    const std::string path = pathOf(hive);
    char* const resolved = realpath(path.c_str(), nullptr);
    std::string file = resolved != nullptr ? resolved : path;
    free(resolved);
    return file;
}

std::int64_t nanoseconds(const timespec& time) {
    return std::int64_t(time.tv_sec) * 1000000000 + time.tv_nsec;
}

// Which file it is and in which state; as constructed, a file that is missing.
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
    // Without the number of the file, which some network file systems make up anew for every look; a file that has
    // been put in the place of another has a change of its own.
    bool isAsIn(const Identity& other) const {
        return size == other.size && modified == other.modified && changed == other.changed;
    }
    std::int64_t ageNs() const {
        timespec now = {};
        clock_gettime(CLOCK_REALTIME, &now);
        return nanoseconds(now) - std::max(modified, changed);
    }
    bool isSettled() const { return ageNs() > kUnsettledNs; }
    // A time in the future is another machine's and says nothing.
    bool isFresh() const { return ageNs() >= 0 && ageNs() <= kUnsettledNs; }
};

Identity identityOf(const std::string& path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? Identity(status) : Identity();
}

// What a look at a file found.
struct Look {
    Identity identity;
    Text text;
    SPW_CRegistryText::Problem problem;  // when it does not parse
};

// What is remembered of a file, so that enumerating a long hive does not parse it for every entry.
struct Known {
    Identity identity;
    bool settled = false;
    Text text;
    Identity reported;  // the state whose problem the user has been told
};

std::mutex g_mutex;  // guards the map; not held while a file is read or the user is told
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
    known.reported = Identity();
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

void tellProblem(const std::string& path, const SPW_CRegistryText::Problem& problem) {
    SPW_CString message(path.c_str());
    message += u":";
    message += static_cast<unsigned long>(problem.line);
    message += u": ";
    message += problem.what;
    message += u". The file is neither used nor changed until it is mended.";
    SPW_CError::instance->userInfo(kModule, __LINE__, "SPW_CRegistry", "read", message);
}

SPW_Result readAll(int file, std::size_t expected, std::vector<char>& bytes) {
    bytes.resize(expected + 1);
    std::size_t used = 0;
    for (;;) {
        const ssize_t size = ::read(file, bytes.data() + used, bytes.size() - used);
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size < 0) {
            return lastCode();
        }
        used += static_cast<std::size_t>(size);
        if (size == 0) {
            bytes.resize(used);
            return kSysOk;
        }
        if (used == bytes.size()) {
            bytes.resize(used * 2);
        }
    }
}

SPW_Result parseFile(Hive hive, const std::string& path, int file, Look& look) {
    const bool settled = look.identity.isSettled();
    std::vector<char> bytes;
    const SPW_Result code = readAll(file, static_cast<std::size_t>(look.identity.size), bytes);
    if (code != kSysOk) {
        return code;
    }
    const auto parsed = std::make_shared<SPW_CRegistryText>(SPW_CString(hiveName(hive)));
    if (!parsed->parse(bytes.data(), bytes.size(), look.problem)) {
        return kSysRegistryCorrupt;
    }
    look.text = parsed;
    remember(path, look.identity, settled, look.text);
    return kSysOk;
}

SPW_Result lookAt(Hive hive, const std::string& path, Look& look) {
    look = Look();
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
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
    look.text = remembered(path, look.identity);
    return look.text != nullptr ? SPW_Result(kSysOk) : parseFile(hive, path, file.number(), look);
}

// Many an editor empties the file and then writes it: what it holds meanwhile is neither a mistake, nor are all its
// values missing.
bool mayBeHalfWritten(SPW_Result code, const Identity& identity) {
    return (code == kSysRegistryCorrupt || (code == kSysOk && identity.size == 0)) && identity.isFresh();
}

SPW_Result load(Hive hive, const std::string& path, Look& look) {
    SPW_Result code = lookAt(hive, path, look);
    for (int looks = 1; looks < kLooks && mayBeHalfWritten(code, look.identity); ++looks) {
        SPW_CClockSys::sleepMs(kLookAgainMs);
        code = lookAt(hive, path, look);
    }
    if (code == kSysRegistryCorrupt && isNewProblem(path, look.identity)) {
        tellProblem(path, look.problem);
    }
    return code;
}

// With all its parents.
SPW_Result makeFolder(const std::string& folder, mode_t mode) {
    if (mkdir(folder.c_str(), mode) == 0 || errno == EEXIST) {
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
    return mkdir(folder.c_str(), mode) == 0 || errno == EEXIST ? SPW_Result(kSysOk) : lastCode();
}

// A link that points at nothing gets its file, or a new file would take the place of the link.
SPW_Result completeLink(const std::string& path) {
    struct stat status;
    if (lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode) || stat(path.c_str(), &status) == 0) {
        return kSysOk;
    }
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY, 0666));
    return file.isOpen() ? SPW_Result(kSysOk) : lastCode();
}

std::string folderIn(const std::string& path) {
    return path.substr(0, path.find_last_of('/') + 1);
}

// What the superuser makes in a user's folder is the user's, or it would lock the user out. Nobody else may give files
// away.
void giveToOwnerOfFolder(int file, const std::string& path) {
    struct stat folder;
    if (geteuid() == 0 && stat(folderIn(path).c_str(), &folder) == 0) {
        (void)!fchown(file, folder.st_uid, folder.st_gid);
    }
}

// Only a file that is made here is given away: one that is there may be a name of something else.
int openLock(const std::string& path) {
    constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW;
    const int made = open(path.c_str(), kFlags | O_CREAT | O_EXCL, 0600);
    if (made >= 0) {
        giveToOwnerOfFolder(made, path);
    }
    return made >= 0 || errno != EEXIST ? made : open(path.c_str(), kFlags);
}

// Held until the descriptor is closed, among threads as among processes: each opens the lock file for itself.
SPW_Result lock(const Descriptor& file) {
    if (!file.isOpen()) {
        return lastCode();
    }
    while (flock(file.number(), LOCK_EX) != 0) {
        if (errno != EINTR) {
            return lastCode();
        }
    }
    return kSysOk;
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

// The new file belongs to whom the old one belonged, as far as we may give it away; its group may be ours as well.
bool takeOver(int file, const struct stat& old) {
    if (fchown(file, old.st_uid, old.st_gid) != 0) {
        (void)!fchown(file, static_cast<uid_t>(-1), old.st_gid);
    }
    return fchmod(file, old.st_mode & 07777) == 0;
}

SPW_Result writeTemporary(const std::string& temporary, const struct stat* old, const std::vector<char>& bytes) {
    Descriptor file(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (!file.isOpen()) {
        return lastCode();
    }
    if (old == nullptr) {
        giveToOwnerOfFolder(file.number(), temporary);
    }
    const bool written = (old == nullptr || takeOver(file.number(), *old)) && writeAll(file.number(), bytes) &&
                         fsync(file.number()) == 0 && file.close();
    return written ? SPW_Result(kSysOk) : lastCode();
}

// Replaces the file, under the lock, so that the name of the temporary file is nobody else's. Editors know nothing of
// the lock: when the file is no longer the one that was read, `overtaken` becomes true and nothing is replaced.
SPW_Result save(const std::string& path, const Identity& read, const SPW_CRegistryText& text, bool& overtaken) {
    struct stat old;
    const bool existed = stat(path.c_str(), &old) == 0;
    if (existed && access(path.c_str(), W_OK) != 0) {
        return lastCode();
    }
    std::vector<char> bytes;
    text.serialise(bytes);
    const std::string temporary = path + ".tmp";
    unlink(temporary.c_str());  // what a crash may have left
    SPW_Result code = writeTemporary(temporary, existed ? &old : nullptr, bytes);
    // Writing to the disk is what takes long; behind this look hardly anything is left to come in between.
    overtaken = code == kSysOk && !identityOf(path).isAsIn(read);
    if (code == kSysOk && !overtaken && rename(temporary.c_str(), path.c_str()) != 0) {
        code = lastCode();
    }
    if (code != kSysOk || overtaken) {
        unlink(temporary.c_str());
        return code;
    }
    const Descriptor folder(open(folderIn(path).c_str(), O_RDONLY | O_CLOEXEC));
    if (folder.isOpen()) {
        (void)fsync(folder.number());  // the new file is in place; only its safety from a power failure is less
    }
    return kSysOk;
}

using Change = std::function<SPW_Result(SPW_CRegistryText&)>;

SPW_Result tryEdit(Hive hive, const std::string& path, const Change& change, bool& overtaken) {
    overtaken = false;
    Look look;
    SPW_Result code = load(hive, path, look);
    if (code != kSysOk) {
        return code;
    }
    SPW_CRegistryText edited(*look.text);
    code = change(edited);
    return code == kSysOk && edited.isChanged() ? save(path, look.identity, edited, overtaken) : code;
}

}  // namespace

SPW_Result SPW_CHiveFilePosix::read(Hive hive, Text& text) {
    Look look;
    const SPW_Result code = load(hive, fileOf(hive), look);
    text = look.text;
    return code;
}

SPW_Result SPW_CHiveFilePosix::edit(Hive hive, const Change& change) {
    SPW_Result code = makeFolder(folderOf(hive), hive == SPW_CRegistrySys::kCurrentUser ? 0700 : 0755);
    if (code == kSysOk) {
        code = completeLink(pathOf(hive));
    }
    if (code != kSysOk) {
        return code;
    }
    const std::string path = fileOf(hive);
    const Descriptor lockFile(openLock(path + ".lock"));
    code = lock(lockFile);
    for (bool overtaken = true; code == kSysOk && overtaken;) {
        code = tryEdit(hive, path, change, overtaken);
    }
    return code;
}
