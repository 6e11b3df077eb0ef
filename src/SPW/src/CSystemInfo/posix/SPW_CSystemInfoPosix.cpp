#include <langinfo.h>
#include <sys/stat.h>
#include <sys/utsname.h>

#include <ctime>
#include <string>

#include "SPW_CImmortal.h"
#include "SPW_CKernelVersionPosix.h"
#include "SPW_COsReleasePosix.h"
#include "SPW_CSmallFilePosix.h"
#include "SPW_CSystemInfo.h"
#include "SPW_CTimeFormatPosix.h"
#include "SPW_CUserLocalePosix.h"

namespace {

// What is longer is not what it should be.
constexpr std::size_t kLongestSignature = 1024;
constexpr std::size_t kLongestOsRelease = 65536;

constexpr int kLongestDateOrTime = 100;
constexpr std::uint64_t k100nsPerDay = 864000000000u;

bool isOwnProgramFile(const char* path) {
    struct stat named;
    struct stat own;
    return stat(path, &named) == 0 && stat("/proc/self/exe", &own) == 0 && named.st_dev == own.st_dev &&
           named.st_ino == own.st_ino;
}

bool kernelVersion(SPW_CKernelVersionPosix::Version& version) {
    utsname kernel;
    if (uname(&kernel) != 0) {
        return false;
    }
    std::string signature;
    (void)SPW_CSmallFilePosix::read("/proc/version_signature", kLongestSignature, signature);  // few kernels have one
    return SPW_CKernelVersionPosix::parse(kernel.release, kernel.version, signature, version);
}

// The second file counts only where the first is missing, not where it says nothing.
SPW_CString distribution() {
    std::string file;
    if (!SPW_CSmallFilePosix::read("/etc/os-release", kLongestOsRelease, file)) {
        (void)SPW_CSmallFilePosix::read("/usr/lib/os-release", kLongestOsRelease, file);
    }
    return SPW_COsReleasePosix::prettyName(file);
}

// False for a time that no calendar shows.
bool toSystemTime(const SPW_CalendarTime& time, std::tm& calendar) {
    const std::uint64_t moment = SPW_CClock::fromUtc(time);
    if (moment == 0) {
        return false;
    }
    SPW_CalendarTime newYear;
    newYear.year = time.year;
    calendar = {};
    calendar.tm_year = time.year - 1900;
    calendar.tm_mon = time.month - 1;
    calendar.tm_mday = time.day;
    calendar.tm_wday = SPW_CClock::toUtc(moment).dayOfWeek;
    calendar.tm_yday = static_cast<int>((moment - SPW_CClock::fromUtc(newYear)) / k100nsPerDay);
    calendar.tm_hour = time.hour;
    calendar.tm_min = time.minute;
    calendar.tm_sec = time.second;
    calendar.tm_isdst = -1;
    return true;
}

SPW_CString cutToLimit(const SPW_CString& text) {
    return text.left(kLongestDateOrTime);
}

class SystemInfo : public SPW_CSystemInfo {
public:
    constexpr SystemInfo() = default;

    bool fileVersion(const SPW_CString& path, std::uint32_t& high, std::uint32_t& low) override {
        if (!isOwnProgramFile(path.toAnsi())) {
            return false;
        }
        high = LINKOMETRY_VERSION_MAJOR << 16 | LINKOMETRY_VERSION_MINOR;
        low = LINKOMETRY_VERSION_PATCH << 16 | LINKOMETRY_VERSION_TWEAK;
        return true;
    }

    bool osVersion(SPW_OsVersion& version) override {
        SPW_CKernelVersionPosix::Version kernel;
        if (!kernelVersion(kernel)) {
            return false;
        }
        version.platform = kOsLinux;
        version.major = kernel.major;
        version.minor = kernel.minor;
        version.build = kernel.patch;
        version.servicePack = distribution();
        return true;
    }

    SPW_CString productType() override { return SPW_CString(); }

    SPW_CString shortDate(const SPW_CalendarTime& time) override {
        std::tm calendar;
        if (!toSystemTime(time, calendar)) {
            return SPW_CString();
        }
        const SPW_CUserLocalePosix locale;
        return cutToLimit(locale.formatted(locale.text(D_FMT), calendar));
    }

    SPW_CString shortTime(const SPW_CalendarTime& time) override {
        std::tm calendar;
        if (!toSystemTime(time, calendar)) {
            return SPW_CString();
        }
        const SPW_CUserLocalePosix locale;
        const SPW_CString format = SPW_CTimeFormatPosix::withoutSeconds(locale.text(T_FMT), locale.text(T_FMT_AMPM));
        return cutToLimit(locale.formatted(format, calendar));
    }
};

SPW_CImmortal<SystemInfo> systemInfo;

}  // namespace

SPW_CSystemInfo* SPW_CSystemInfo::instance = &systemInfo.value;
