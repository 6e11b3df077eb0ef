#include "SPW_CApp.h"

#include <atomic>

#include "SPW_CAppSys.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CDir.h"
#include "SPW_CError.h"
#include "SPW_CLazy.h"

namespace {

constexpr char kModule[] = "src\\SPW\\src\\CApp\\portable\\SPW_CApp";
constexpr char16_t kProduct[] = u"Vantiro";
constexpr char16_t kEdition[] = u"Vantiro Personal Edition";
constexpr char16_t kCompanyDir[] = u"Vantiro Networks";
constexpr std::uint32_t kTraceLevel = 4;

std::atomic<int> g_instance{0};

// A directory that is made once and then remembered.
struct CachedDir {
    bool made = false;
    SPW_CString path;
};

struct Dirs {
    SPW_CCriticalSection lock;  // guards the two below; never held while a directory is made or anything is reported
    CachedDir data;
    CachedDir temp;
};

SPW_CLazy<Dirs> g_dirs;

void trace(int kind, int line, const char* method) {
    (void)SPW_CError::instance->trace(kTraceLevel, kind, kModule, line, "SPW_CApp", method, SPW_CString());
}

bool isMade(const CachedDir& dir, SPW_CString& path) {
    SPW_CGuard guard(g_dirs.get().lock);
    if (dir.made) {
        path = dir.path;
    }
    return dir.made;
}

// Two threads that come here at once both make the directory, which does no harm.
void make(CachedDir& dir, const SPW_CString& path, const char* method) {
    if (SPW_CDir::dirExists(path) != 0) {
        const SPW_Result status = SPW_CDir::makeDir(path);
        if (status != 0) {
            (void)SPW_CError::instance->report(kModule, __LINE__, "SPW_CApp", method, status, 0,
                                               SPW_CString(u"failed to create directory ") + path,
                                               SPW_CError::kOrdinary);
        }
    }
    SPW_CGuard guard(g_dirs.get().lock);
    dir.path = path;
    dir.made = true;
}

void appendPart(SPW_CString& path, const char16_t* name) {
    path += SPW_CDir::separator();
    path += name;
}

void appendInstance(SPW_CString& name) {
    const int number = g_instance;
    if (number != 0) {
        name += number;
    }
}

}  // namespace

void SPW_CApp::getAppDataDir(SPW_CString& path) {
    trace(SPW_CError::kEntry, __LINE__, "getAppDataDir");
    if (!isMade(g_dirs.get().data, path)) {
        SPW_CAppSys::instance->getDataRoot(path);
        appendPart(path, kCompanyDir);
        appendPart(path, kProduct);
        appendPart(path, u"Data");
        make(g_dirs.get().data, path, "getAppDataDir");
    }
    trace(SPW_CError::kExit, __LINE__, "getAppDataDir");
}

void SPW_CApp::getAppTempDir(SPW_CString& path) {
    trace(SPW_CError::kEntry, __LINE__, "getAppTempDir");
    if (!isMade(g_dirs.get().temp, path)) {
        path.clear();
        if (SPW_CAppSys::instance->getTempPath(path) && path.last() == SPW_CDir::separator()) {
            path.dropRight(1);
        }
        appendPart(path, kCompanyDir);
        appendPart(path, kEdition);
        make(g_dirs.get().temp, path, "getAppTempDir");
    }
    trace(SPW_CError::kExit, __LINE__, "getAppTempDir");
}

void SPW_CApp::getAppName(SPW_CString& name) {
    name = kProduct;
    appendInstance(name);
}

void SPW_CApp::getEditionName(SPW_CString& name) {
    name = kEdition;
    appendInstance(name);
}

void SPW_CApp::getModulePath(SPW_CString& path, bool full) {
    path.clear();
    if (!SPW_CAppSys::instance->getModulePath(path) || full) {
        return;
    }
    const int end = path.findLast(SPW_CDir::separator());
    if (end > 0) {
        path.truncate(end);
    }
}

int SPW_CApp::getInstance() {
    return g_instance;
}

void SPW_CApp::setInstance(int number) {
    g_instance = number;
}
