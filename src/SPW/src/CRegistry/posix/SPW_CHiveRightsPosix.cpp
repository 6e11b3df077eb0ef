#include "SPW_CHiveRights.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "SPW_CHiveFilePosix.h"

namespace {

constexpr mode_t kOwner = 0700;
constexpr mode_t kNormal = 0666;  // less the user's umask

// All rights, for a missing hive.
mode_t rightsTo(SPW_CRegistrySys::Hive hive) {
    struct stat status;
    return ::stat(SPW_CHiveFilePosix::path(hive).c_str(), &status) == 0 ? status.st_mode : ~mode_t{0};
}

bool limitOpen(int file, mode_t rights) {
    struct stat status;
    if (::fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
        return true;
    }
    const mode_t present = status.st_mode & 07777;
    return (present & rights) == present || ::fchmod(file, present & rights) == 0;
}

}  // namespace

bool SPW_CHiveRights::limit(const SPW_CString& path) {
    const mode_t rights =
        kOwner | (rightsTo(SPW_CRegistrySys::kCurrentUser) & rightsTo(SPW_CRegistrySys::kLocalMachine));
    const std::string own(SPW_CString(path).toAnsi());  // toAnsi changes its string, and the caller's may be shared
    // A new file gives others no rights from its first moment: a file that is open once stays readable.
    const int file = ::open(own.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, kNormal & rights);
    if (file == -1) {
        return false;
    }
    const bool isLimited = limitOpen(file, rights);
    (void)::close(file);  // nothing has been written
    return isLimited;
}
