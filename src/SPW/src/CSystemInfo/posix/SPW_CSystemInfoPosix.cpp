#include <sys/stat.h>

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
};

SPW_CImmortal<SystemInfo> systemInfo;

}  // namespace

SPW_CSystemInfo* SPW_CSystemInfo::instance = &systemInfo.value;
