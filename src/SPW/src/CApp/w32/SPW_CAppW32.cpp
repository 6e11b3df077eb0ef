#include <windows.h>

#include "SPW_CAppSys.h"
#include "SPW_CImmortal.h"
#include "SPW_CSysErrorW32.h"
#include "SPW_CWideW32.h"

namespace {

// Stores in `path` what a call wrote into a buffer of MAX_PATH characters. `length` is what the call answered: the
// length of the text, 0 for a failure, or MAX_PATH and more for a text that does not fit.
bool takePath(DWORD length, const char16_t* buffer, SPW_CString& path) {
    const bool isThere = length > 0 && length < MAX_PATH;
    if (length == 0) {
        (void)SPW_CSysErrorW32::fail();  // the code is for SPW_CSysError::last()
    }
    path = isThere ? buffer : u"";
    return isThere;
}

class AppSysW32 : public SPW_CAppSys {
public:
    constexpr AppSysW32() = default;

    void getDataRoot(SPW_CString& path) override { path = u"\\Program Files"; }

    bool getTempPath(SPW_CString& path) override {
        char16_t buffer[MAX_PATH];
        return takePath(GetTempPathW(MAX_PATH, SPW_ToWide(buffer)), buffer, path);
    }

    bool getModulePath(SPW_CString& path) override {
        char16_t buffer[MAX_PATH];
        return takePath(GetModuleFileNameW(nullptr, SPW_ToWide(buffer), MAX_PATH), buffer, path);
    }
};

SPW_CImmortal<AppSysW32> appSys;

}  // namespace

SPW_CAppSys* SPW_CAppSys::instance = &appSys.value;
