#include "SPW_CFileRightsPosix.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "SPW_CDescriptorPosix.h"

namespace {

constexpr char kAccessList[] = "system.posix_acl_access";
constexpr mode_t kPermissions = 0777;
constexpr mode_t kGroup = 0070;
constexpr uid_t kUnchanged = static_cast<uid_t>(-1);

// An access control list as the kernel hands it out: a version of four bytes, then entries of eight, the first two of
// which are the kind of the entry and the next two its rights, low byte first.
constexpr std::size_t kListHeader = 4;
constexpr std::size_t kListEntry = 8;
constexpr std::size_t kRightsInEntry = 2;
constexpr char kOwningGroup = 4;

bool getAttribute(int file, const char* name, std::vector<char>& value) {
    const ssize_t size = fgetxattr(file, name, nullptr, 0);
    if (size < 0) {
        return false;
    }
    value.resize(static_cast<std::size_t>(size));
    return fgetxattr(file, name, value.data(), value.size()) == size;
}

bool setAttribute(int file, const char* name, const std::vector<char>& value) {
    return fsetxattr(file, name, value.data(), value.size(), 0) == 0;
}

void takeRightsOfGroup(std::vector<char>& list) {
    for (std::size_t entry = kListHeader; entry + kListEntry <= list.size(); entry += kListEntry) {
        if (list[entry] == kOwningGroup && list[entry + 1] == 0) {
            list[entry + kRightsInEntry] = 0;
        }
    }
}

// All but the access control list, which depends on the group. What cannot be kept, such as a label that only the
// system sets, is not worth refusing the write.
void copyAttributes(int from, int to) {
    const ssize_t size = flistxattr(from, nullptr, 0);
    if (size <= 0) {
        return;  // without room for names the call would give their size again
    }
    std::vector<char> names(static_cast<std::size_t>(size));
    const ssize_t filled = flistxattr(from, names.data(), names.size());
    std::vector<char> value;
    for (ssize_t at = 0; at < filled;
         at += static_cast<ssize_t>(std::strlen(&names[static_cast<std::size_t>(at)])) + 1) {
        const char* const name = &names[static_cast<std::size_t>(at)];
        if (std::strcmp(name, kAccessList) != 0 && getAttribute(from, name, value)) {
            (void)setAttribute(to, name, value);
        }
    }
}

// Owner and group; answers whether the group is that of the old file.
bool keepGroup(int file, const struct stat& old) {
    return fchown(file, old.st_uid, old.st_gid) == 0 || fchown(file, kUnchanged, old.st_gid) == 0;
}

}  // namespace

std::string SPW_CFileRightsPosix::folderOf(const std::string& path) {
    return path.substr(0, path.find_last_of('/') + 1);
}

void SPW_CFileRightsPosix::giveToOwnerOfFolder(int file, const std::string& path) {
    const std::string above = folderOf(path);
    struct stat folder;
    if (geteuid() == 0 && stat(above.empty() ? "." : above.c_str(), &folder) == 0) {
        (void)!fchown(file, folder.st_uid, folder.st_gid);  // the file does as well without
    }
}

bool SPW_CFileRightsPosix::makeFolder(const std::string& path, mode_t mode) {
    if (mkdir(path.c_str(), mode) != 0) {
        return false;
    }
    if (geteuid() == 0) {
        // Through a descriptor of a folder: the folder's owner could put something else in the place of the path.
        const SPW_CDescriptorPosix made(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (made.isOpen()) {
            giveToOwnerOfFolder(made.number(), path);
        }
    }
    return true;
}

bool SPW_CFileRightsPosix::takeOver(int from, int to) {
    struct stat old;
    if (fstat(from, &old) != 0) {
        return false;
    }
    mode_t mode = old.st_mode & kPermissions;
    const bool groupKept = keepGroup(to, old);
    copyAttributes(from, to);
    std::vector<char> list;
    if (getAttribute(from, kAccessList, list)) {
        // With a list the group's bits of the mode are the most that anybody named in it gets; the group's own rights
        // stand in the list.
        if (!groupKept) {
            takeRightsOfGroup(list);
        }
        mode = setAttribute(to, kAccessList, list) ? mode : mode & ~kGroup;
    } else {
        (void)fremovexattr(to, kAccessList);  // which the folder may have given to the new file
        mode = groupKept ? mode : mode & ~kGroup;
    }
    return fchmod(to, mode) == 0;
}

void SPW_CFileRightsPosix::letWritersOpen(int lock, int file) {
    struct stat status;
    struct stat wanted;
    if (fstat(lock, &status) != 0 || fstat(file, &wanted) != 0) {
        return;
    }
    const bool groupKept = status.st_gid == wanted.st_gid || fchown(lock, kUnchanged, wanted.st_gid) == 0;
    const mode_t writers = wanted.st_mode & (groupKept ? 0222 : 0202);
    std::vector<char> list;
    if (groupKept && getAttribute(file, kAccessList, list)) {
        (void)setAttribute(lock, kAccessList, list);  // without it fewer may open the lock
    }
    (void)fchmod(lock, writers | writers << 1 | S_IRUSR | S_IWUSR);
}
