#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "SPW_CApp.h"
#include "SPW_CAppSys.h"
#include "StringPrinting.h"

namespace {

// Sets an environment variable, or takes it away, as long as it lives.
class Variable {
public:
    Variable(const char* name, const char* value) : m_name(name) {
        const char* before = std::getenv(name);
        m_wasThere = before != nullptr;
        m_before = m_wasThere ? before : "";
        (void)(value != nullptr ? setenv(name, value, 1) : unsetenv(name));
    }
    ~Variable() { (void)(m_wasThere ? setenv(m_name, m_before.c_str(), 1) : unsetenv(m_name)); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* m_name;
    bool m_wasThere;
    std::string m_before;
};

SPW_CString dataRoot() {
    SPW_CString path;
    SPW_CAppSys::instance->getDataRoot(path);
    return path;
}

SPW_CString tempPath() {
    SPW_CString path;
    EXPECT_TRUE(SPW_CAppSys::instance->getTempPath(path));
    return path;
}

TEST(AppPosixTest, ModuleIsTheRunningProgram) {
    SPW_CString path;
    SPW_CApp::getModulePath(path, true);
    EXPECT_EQ(std::filesystem::path(path.toAnsi()), std::filesystem::read_symlink("/proc/self/exe"));
}

TEST(AppPosixTest, DataRootComesFromTheEnvironment) {
    const Variable data("XDG_DATA_HOME", "/data/home");
    EXPECT_EQ(dataRoot(), u"/data/home");
    const Variable relative("XDG_DATA_HOME", "relative");
    const Variable home("HOME", "/home/me");
    EXPECT_EQ(dataRoot(), u"/home/me/.local/share");
}

TEST(AppPosixTest, WithoutHomeTheUserDataBaseKnows) {
    const Variable data("XDG_DATA_HOME", nullptr);
    const Variable home("HOME", nullptr);
    EXPECT_EQ(dataRoot().first(), u'/');
    EXPECT_EQ(dataRoot().right(13), u"/.local/share");
}

TEST(AppPosixTest, TemporaryDirectoryComesFromTheEnvironment) {
    const Variable set("TMPDIR", "/my/tmp/");
    EXPECT_EQ(tempPath(), u"/my/tmp/");
    const Variable unset("TMPDIR", nullptr);
    EXPECT_EQ(tempPath(), u"/tmp");
}

}  // namespace
