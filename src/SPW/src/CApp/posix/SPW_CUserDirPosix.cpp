#include "SPW_CUserDirPosix.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace {

std::string homeOfUser() {
    const char* home = std::getenv("HOME");
    if (home != nullptr && home[0] == '/') {
        return home;
    }
    // A service may run without HOME; the user data base knows as well.
    std::vector<char> buffer(16384);
    passwd record;
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &record, buffer.data(), buffer.size(), &found) == 0 && found != nullptr) {
        return found->pw_dir;
    }
    return "/";
}

}  // namespace

std::string SPW_UserDir(const char* variable, const char* fallback) {
    const char* value = std::getenv(variable);
    if (value != nullptr && value[0] == '/') {
        return value;
    }
    const std::string home = homeOfUser();
    return (home == "/" ? home : home + "/") + fallback;
}
