#include <limits.h>
#include <unistd.h>

#include <cstdlib>

#include "SPW_CAppSys.h"
#include "SPW_CUserDirPosix.h"

namespace {

class AppSysPosix : public SPW_CAppSys {
public:
    void getDataRoot(SPW_CString& path) override {
        path = SPW_CString(SPW_UserDir("XDG_DATA_HOME", ".local/share").c_str());
    }

    bool getTempPath(SPW_CString& path) override {
        const char* directory = std::getenv("TMPDIR");
        path = SPW_CString(directory != nullptr && directory[0] == '/' ? directory : "/tmp");
        return true;
    }

    bool getModulePath(SPW_CString& path) override {
        char buffer[PATH_MAX];
        const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
        buffer[length < 0 ? 0 : length] = 0;
        path = SPW_CString(buffer);
        return length >= 0;
    }
};

AppSysPosix g_appSys;

}  // namespace

SPW_CAppSys* SPW_CAppSys::instance = &g_appSys;
