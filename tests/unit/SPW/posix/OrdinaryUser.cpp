// Lets the tests of files run as an ordinary user when the superuser runs all tests.

#include <grp.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr uid_t kNobody = 65534;

// Before main(): a user is changed for good.
const bool isChanged = [] {
    const bool isWanted = std::getenv("LINKOMETRY_TEST_AS_ORDINARY_USER") != nullptr && geteuid() == 0;
    if (isWanted && (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0)) {
        std::perror("the tests cannot run as an ordinary user");
        std::exit(1);
    }
    if (isWanted) {
        (void)prctl(PR_SET_DUMPABLE, 1);  // or what tells of this process below /proc would still be the superuser's
    }
    return isWanted;
}();

}  // namespace
