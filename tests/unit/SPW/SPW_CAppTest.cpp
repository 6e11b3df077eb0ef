#include "SPW_CApp.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "RecordingReporter.h"
#include "SPW_CAppSys.h"
#include "SPW_CDir.h"
#include "ScopedInstance.h"
#include "StringPrinting.h"
#include "TemporaryFolder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What the application is told by its platform.
class ScriptedAppSys : public SPW_CAppSys {
public:
    void getDataRoot(SPW_CString& path) override { path = dataRoot; }
    bool getTempPath(SPW_CString& path) override {
        path = tempPath;
        return known;
    }
    bool getModulePath(SPW_CString& path) override {
        path = modulePath;
        return known;
    }
    SPW_CString dataRoot;
    SPW_CString tempPath;
    SPW_CString modulePath;
    bool known = true;
};

// The directories are remembered for the life of the process: each test of them runs in a process of its own.
template <typename Work>
void inProcess(const Work& work) {
    EXPECT_EXIT(
        {
            work();
            std::_Exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

class AppTest : public testing::Test {
protected:
    SPW_CString dataDir() {
        SPW_CString path;
        SPW_CApp::getAppDataDir(path);
        return path;
    }
    SPW_CString tempDir() {
        SPW_CString path;
        SPW_CApp::getAppTempDir(path);
        return path;
    }
    SPW_CString modulePath(const char16_t* module, bool full) {
        m_sys.modulePath = module;
        SPW_CString path;
        SPW_CApp::getModulePath(path, full);
        return path;
    }

    TemporaryFolder m_folder;
    RecordingReporter m_reporter;
    ScriptedAppSys m_sys;
    ScopedInstance<SPW_CAppSys> m_installed{m_sys};
};

// --- Directories ---

TEST_F(AppTest, DataDirectoryIsMadeOnceAndRemembered) {
    inProcess([this] {
        m_sys.dataRoot = m_folder.path();
        EXPECT_EQ(dataDir(), m_folder.path("Vantiro Networks/Vantiro/Data"));
        EXPECT_TRUE(m_folder.exists("Vantiro Networks/Vantiro/Data"));
        std::filesystem::remove_all(m_folder.native() / "Vantiro Networks");
        m_sys.dataRoot = u"/elsewhere";
        EXPECT_EQ(dataDir(), m_folder.path("Vantiro Networks/Vantiro/Data"));
        EXPECT_FALSE(m_folder.exists("Vantiro Networks"));
        EXPECT_THAT(m_reporter.reports(), IsEmpty());
    });
}

TEST_F(AppTest, TempDirectoryLosesTheSeparatorOfTheSystemsPath) {
    inProcess([this] {
        m_sys.tempPath = m_folder.path("");
        EXPECT_EQ(tempDir(), m_folder.path("Vantiro Networks/Vantiro Personal Edition"));
        EXPECT_TRUE(m_folder.exists("Vantiro Networks/Vantiro Personal Edition"));
        m_sys.tempPath = u"/elsewhere/";
        EXPECT_EQ(tempDir(), m_folder.path("Vantiro Networks/Vantiro Personal Edition"));
    });
}

TEST_F(AppTest, DirectoryThatCannotBeMadeIsReportedAndReturnedAllTheSame) {
    inProcess([this] {
        m_folder.write("file", "");
        m_sys.dataRoot = m_folder.path("file");
        m_sys.tempPath = m_folder.path("file/");
        const std::string data = m_folder.path("file/Vantiro Networks/Vantiro/Data").toAnsi();
        EXPECT_STREQ(dataDir().toAnsi(), data.c_str());
        EXPECT_THAT(m_reporter.takeReports(),
                    ElementsAre(testing::Field(&RecordedReport::className, "SPW_CDir"),
                                IsReport("SPW_CApp", "getAppDataDir", 135, "failed to create directory " + data)));
        EXPECT_STREQ(dataDir().toAnsi(), data.c_str());
        EXPECT_THAT(m_reporter.takeReports(), IsEmpty());

        const std::string temp = m_folder.path("file/Vantiro Networks/Vantiro Personal Edition").toAnsi();
        EXPECT_STREQ(tempDir().toAnsi(), temp.c_str());
        EXPECT_THAT(m_reporter.takeReports(), ElementsAre(testing::_, IsReport("SPW_CApp", "getAppTempDir", 135,
                                                                               "failed to create directory " + temp)));
    });
}

TEST_F(AppTest, EntryAndExitAreTracedAtLevel4) {
    inProcess([this] {
        m_sys.dataRoot = m_folder.path();
        const std::string log = m_folder.path("trace.log").toAnsi();
        ASSERT_EQ(m_reporter.reporter().openLogFile(m_folder.path("trace.log"), u"", 1), 0u);
        m_reporter.reporter().setTraceFileMask(~4u);
        (void)dataDir();
        m_reporter.reporter().setTraceFileMask(4);
        (void)dataDir();
        ASSERT_EQ(m_reporter.reporter().closeLogFile(), 0u);
        const std::string text = m_folder.read("trace.log");
        const std::size_t entry = text.find("TRACE > SPW_CApp::getAppDataDir(");
        const std::size_t exit = text.find("TRACE < SPW_CApp::getAppDataDir(");
        EXPECT_NE(entry, std::string::npos);
        EXPECT_NE(exit, std::string::npos);
        EXPECT_LT(entry, exit);
        EXPECT_EQ(text.find("TRACE", exit + 1), std::string::npos);
    });
}

// --- Names ---

TEST_F(AppTest, InstanceNumberFollowsTheNamesUnlessItIs0) {
    SPW_CString name;
    EXPECT_EQ(SPW_CApp::getInstance(), 0);
    SPW_CApp::getAppName(name);
    EXPECT_EQ(name, u"Vantiro");
    SPW_CApp::getEditionName(name);
    EXPECT_EQ(name, u"Vantiro Personal Edition");
    SPW_CApp::setInstance(12);
    EXPECT_EQ(SPW_CApp::getInstance(), 12);
    SPW_CApp::getAppName(name);
    EXPECT_EQ(name, u"Vantiro12");
    SPW_CApp::setInstance(-3);
    SPW_CApp::getEditionName(name);
    EXPECT_EQ(name, u"Vantiro Personal Edition-3");
    SPW_CApp::setInstance(0);
}

// --- The program's own file ---

TEST_F(AppTest, ModulePathIsWholeOrWithoutTheFile) {
    const SPW_CString separator(SPW_CDir::separator() == u'/' ? u"/" : u"\\");
    const SPW_CString folder = separator + u"opt" + separator + u"bin";
    const SPW_CString program = folder + separator + u"program";
    EXPECT_EQ(modulePath(program.text(), true), program);
    EXPECT_EQ(modulePath(program.text(), false), folder);
    EXPECT_EQ(modulePath((separator + u"program").text(), false), separator + u"program");
    EXPECT_EQ(modulePath(u"program", false), u"program");
}

TEST_F(AppTest, UnknownModulePathIsEmpty) {
    m_sys.known = false;
    EXPECT_EQ(modulePath(u"", false), u"");
}

}  // namespace
