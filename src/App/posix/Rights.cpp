#include "Rights.h"

#include <grp.h>
#include <linux/capability.h>
#include <pwd.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "Console.h"
#include "SPW_CIcmp.h"
#include "SettingsStorage.h"

namespace {

// A set of capabilities: the bit of each is its number.
using Capabilities = std::uint64_t;

constexpr Capabilities bitOf(unsigned capability) {
    return Capabilities{1} << capability;
}

constexpr Capabilities kNone = 0;
// The log and the settings may be another user's: they are written, given to the owner of their folder, and get the
// permissions of the file that they replace. The settings may name a port below 1024.
constexpr Capabilities kKeptByRoot =
    bitOf(CAP_CHOWN) | bitOf(CAP_DAC_OVERRIDE) | bitOf(CAP_FOWNER) | bitOf(CAP_NET_BIND_SERVICE);

// What a program could regain that is started from here. Whoever may not reduce this has no more than is wanted, or
// relies on "no new privileges".
void limitBoundingSet(Capabilities kept) {
    for (unsigned capability = 0; prctl(PR_CAPBSET_READ, capability, 0, 0, 0) >= 0; ++capability) {
        if ((kept & bitOf(capability)) == 0) {
            (void)prctl(PR_CAPBSET_DROP, capability, 0, 0, 0);
        }
    }
}

// Takes the ambient capabilities away, too: none is ambient that is not inheritable.
bool limitCapabilities(Capabilities kept) {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
    if (syscall(SYS_capget, &header, sets) != 0) {
        return false;
    }
    for (unsigned i = 0; i < _LINUX_CAPABILITY_U32S_3; ++i) {
        sets[i].permitted &= static_cast<std::uint32_t>(kept >> (32 * i));
        sets[i].effective &= sets[i].permitted;
        sets[i].inheritable = 0;
    }
    return syscall(SYS_capset, &header, sets) == 0;
}

// A user of the system, from its user data base.
struct User {
    std::string name;
    std::string home;
    uid_t number = 0;
    gid_t group = 0;
};

bool findUser(const SPW_CString& name, User& user) {
    std::vector<char> buffer(16384);
    passwd record;
    passwd* found = nullptr;
    user.name = SPW_CString(name).toAnsi();  // toAnsi changes its string
    if (getpwnam_r(user.name.c_str(), &record, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
        return false;
    }
    user.home = found->pw_dir;
    user.number = found->pw_uid;
    user.group = found->pw_gid;
    return true;
}

bool takeGroups(const User& user) {
    return initgroups(user.name.c_str(), user.group) == 0 && setresgid(user.group, user.group, user.group) == 0;
}

// The groups go first, because the user may not change them any more. Whether pings need the raw socket depends on the
// groups, and the raw socket takes the right that goes with the user.
bool become(const User& user) {
    if (!takeGroups(user)) {
        return false;
    }
    SPW_CIcmp::instance->openAhead();
    return setresuid(user.number, user.number, user.number) == 0 && setenv("HOME", user.home.c_str(), 1) == 0;
}

bool becomeNamed(const SPW_CString& name, SPW_CString& why) {
    User user;
    if (!findUser(name, user)) {
        why = u"-user: there is no user \"" + name + u"\"";
        return false;
    }
    const bool isAlready = geteuid() != 0 && geteuid() == user.number;
    if (isAlready) {
        SPW_CIcmp::instance->openAhead();
    } else if (!become(user)) {
        why = u"-user: cannot become \"" + name + u"\": " + std::strerror(errno);
        return false;
    }
    return true;
}

}  // namespace

bool giveUpRights(const SPW_CString& user, SPW_CString& why) {
    const Capabilities kept = user.isEmpty() && geteuid() == 0 ? kKeptByRoot : kNone;
    limitBoundingSet(kept);
    if (user.isEmpty()) {
        SPW_CIcmp::instance->openAhead();
    } else if (!becomeNamed(user, why)) {
        return false;
    }
    if (!limitCapabilities(kept)) {
        complain(SPW_CString(u"cannot give up capabilities: ") + std::strerror(errno));
    }
    (void)prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);  // fails on kernels only that do not know it
    return true;
}

SPW_CString settingsProblemOf(const SPW_CString& user) {
    if (user.isEmpty() || haveSettingsAPlace()) {
        return SPW_CString();
    }
    return user + u" can neither read settings nor make them; every setting has its default";
}
