#include <sys/stat.h>
#include <sys/utsname.h>

#include <cstdio>
#include <ctime>

#include "SPW_CImmortal.h"
#include "SPW_CSystemInfo.h"

namespace {

bool isOwnProgramFile(const char* path) {
    struct stat named;
    struct stat own;
    return stat(path, &named) == 0 && stat("/proc/self/exe", &own) == 0 && named.st_dev == own.st_dev &&
           named.st_ino == own.st_ino;
}

class SystemInfo : public SPW_CSystemInfo {
public:
    constexpr SystemInfo() = default;

    bool fileVersion(const SPW_CString& path, std::uint32_t& high, std::uint32_t& low) override {
        if (!isOwnProgramFile(path.toAnsi()))
            return false;
        high = LINKOMETRY_VERSION_MAJOR << 16 | LINKOMETRY_VERSION_MINOR;
        low = LINKOMETRY_VERSION_PATCH << 16 | LINKOMETRY_VERSION_TWEAK;
        return true;
    }

    bool osVersion(SPW_OsVersion& version) override {
        utsname kernel;
        SPW_OsVersion found;
        if (uname(&kernel) != 0 ||
            std::sscanf(kernel.release, "%u.%u.%u", &found.major, &found.minor, &found.build) < 2)
            return false;
        found.platform = kOsLinux;
        version = found;
        return true;
    }

    SPW_CString productType() override { return SPW_CString(); }

    SPW_CString shortDate(const SPW_CalendarTime& time) override { return text(time, "%x"); }
    SPW_CString shortTime(const SPW_CalendarTime& time) override { return text(time, "%H:%M"); }

private:
    static SPW_CString text(const SPW_CalendarTime& time, const char* format) {
        std::tm calendar = {};
        calendar.tm_year = time.year - 1900;
        calendar.tm_mon = time.month - 1;
        calendar.tm_mday = time.day;
        calendar.tm_wday = time.dayOfWeek;
        calendar.tm_hour = time.hour;
        calendar.tm_min = time.minute;
        calendar.tm_sec = time.second;
        char text[101];
        return SPW_CString(std::strftime(text, sizeof text, format, &calendar) > 0 ? text : "");
    }
};

SPW_CImmortal<SystemInfo> systemInfo;

}  // namespace

SPW_CSystemInfo* SPW_CSystemInfo::instance = &systemInfo.value;
