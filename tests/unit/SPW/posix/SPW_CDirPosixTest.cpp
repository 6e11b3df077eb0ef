// What Linux has that is neither a file nor a directory, and links.

#include "SPW_CDir.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "CallFaults.h"
#include "RecordingReporter.h"
#include "SPW_CDirSys.h"
#include "SPW_CFile.h"
#include "SPW_CSysError.h"
#include "TemporaryFolder.h"

namespace {

TEST(DirPosixTest, WhatIsNeitherFileNorDirectoryIsADevice) {
    const TemporaryFolder folder;
    RecordingReporter reporter;
    folder.write("f", "");
    folder.makeFolder("d");
    ASSERT_EQ(mkfifo((folder.native() / "pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/null", folder.native() / "link");
    std::filesystem::create_symlink("nowhere", folder.native() / "dangling");
    EXPECT_TRUE(SPW_CDir::isDevice(u"/dev/null"));
    EXPECT_TRUE(SPW_CDir::isDevice(folder.path("pipe")));
    EXPECT_TRUE(SPW_CDir::isDevice(folder.path("link")));
    EXPECT_EQ(SPW_CDir::fileExists(folder.path("pipe")), 0u);
    for (const char* name : {"f", "d", "dangling", "missing"}) {
        EXPECT_FALSE(SPW_CDir::isDevice(folder.path(name))) << name;
    }
    EXPECT_THAT(reporter.reports(), testing::IsEmpty());
}

TEST(DirPosixTest, LinksAreRemovedWithoutWhatTheyPointAt) {
    const TemporaryFolder folder;
    folder.makeFolder("outside");
    folder.write("outside/kept", "x");
    folder.makeFolder("a");
    std::filesystem::create_directory_symlink("../outside", folder.native() / "a/link");
    std::filesystem::create_symlink("nowhere", folder.native() / "a/dangling");
    EXPECT_EQ(SPW_CDir::removeDir(folder.path("a"), true), 0u);
    EXPECT_FALSE(folder.exists("a"));
    EXPECT_TRUE(folder.exists("outside/kept"));
}

TEST(DirPosixTest, OfALinkOnlyTheLinkGoes) {
    const TemporaryFolder folder;
    folder.write("kept", "x");
    std::filesystem::permissions(folder.native() / "kept", std::filesystem::perms(0444));
    folder.makeFolder("a");
    std::filesystem::create_symlink("../kept", folder.native() / "a/link");
    EXPECT_EQ(SPW_CDir::wipeDir(folder.path("a")), 0u);
    EXPECT_FALSE(folder.exists("a/link"));
    EXPECT_EQ(folder.read("kept"), "x");
    EXPECT_EQ(std::filesystem::status(folder.native() / "kept").permissions(), std::filesystem::perms(0444));
}

// Bytes that are no text in UTF-8, and one name that looks like the replacement of another.
TEST(DirPosixTest, NamesThatAreNotUtf8AreFoundAndRemovedLikeAnyOther) {
    const TemporaryFolder folder;
    RecordingReporter reporter;
    folder.makeFolder("a");
    folder.makeFolder("kept");
    for (const char* name : {"\xFF",
                             "b\xE4"
                             "c",
                             "\xED\xB2\x80", "\xF0\x9F\x98\x80\x80", "\xEF\xBF\xBD", "?", "\xC3\xA4"}) {
        folder.write(std::string("a/") + name, "x");
        folder.makeFolder(std::string("a/d") + name);
        folder.write(std::string("a/d") + name + "/f\xFE", "x");
        folder.write(std::string("kept/") + name, name);
    }
    EXPECT_EQ(SPW_CDir::removeDir(folder.path("a"), true), 0u);
    EXPECT_FALSE(folder.exists("a"));
    EXPECT_EQ(SPW_CDir::wipeDir(folder.path("kept")), 0u);
    EXPECT_TRUE(std::filesystem::is_empty(folder.native() / "kept"));
    EXPECT_THAT(reporter.reports(), testing::IsEmpty());
}

// U+1F480 is a pair of surrogates whose second half alone would stand for the byte 80.
TEST(DirPosixTest, ANameBeyondTheBasicPlaneIsNotTakenForBytes) {
    const TemporaryFolder folder;
    const char* const name = "\xF0\x9F\x92\x80.txt";
    folder.write(name, "x");
    EXPECT_EQ(SPW_CDir::fileExists(folder.path(name)), 0u);
    EXPECT_EQ(SPW_CDir::moveFile(folder.path(name), folder.path("plain"), true, false), 0u);
    EXPECT_EQ(SPW_CDir::moveFile(folder.path("plain"), folder.path(name), true, false), 0u);
    EXPECT_EQ(folder.read(name), "x");
}

TEST(DirPosixTest, SecondNameOfAFileIsAnotherTarget) {
    const TemporaryFolder folder;
    folder.write("f", "x");
    std::filesystem::create_hard_link(folder.native() / "f", folder.native() / "g");
    EXPECT_EQ(SPW_CDir::moveFile(folder.path("f"), folder.path("g"), true, false), 0u);
    EXPECT_FALSE(folder.exists("f"));
    EXPECT_EQ(folder.read("g"), "x");
}

TEST(DirPosixTest, FileThatIsMovedOntoItselfByALinkedFolderStays) {
    const TemporaryFolder folder;
    folder.makeFolder("d");
    folder.write("d/f", "x");
    std::filesystem::create_directory_symlink("d", folder.native() / "link");
    EXPECT_EQ(SPW_CDir::moveFile(folder.path("d/f"), folder.path("link/f"), true, false), 0u);
    EXPECT_EQ(folder.read("d/f"), "x");
}

TEST(DirPosixTest, WhatIsInUseIsNotRemovedWhereLocksWantAFileThatIsOpenForWriting) {
    const TemporaryFolder folder;
    folder.write("log", "former");
    flockWantsWriting = true;
    SPW_CFile log;
    ASSERT_EQ(log.openToAppend(folder.path("log")), 0u);
    EXPECT_EQ(SPW_CDir::removeUnusedFile(folder.path("log")), SPW_Result{kSysSharingViolation});
    EXPECT_EQ(folder.read("log"), "former");
    ASSERT_EQ(log.close(), 0u);
    EXPECT_EQ(SPW_CDir::removeUnusedFile(folder.path("log")), 0u);
    EXPECT_FALSE(folder.exists("log"));
    flockWantsWriting = false;
}

TEST(DirPosixTest, CopyKeepsThePermissions) {
    const TemporaryFolder folder;
    folder.write("f", "x");
    std::filesystem::permissions(folder.native() / "f", std::filesystem::perms(0500));
    EXPECT_TRUE(SPW_CDirSys::instance->copy(folder.path("f"), folder.path("g"), true));
    EXPECT_EQ(std::filesystem::status(folder.native() / "g").permissions(), std::filesystem::perms(0500));
}

TEST(DirPosixTest, CopyThatFailsHalfWayLeavesNoTarget) {
    const TemporaryFolder folder;
    folder.write("f", std::string(100000, 'x'));
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {4096, 4096};  // bytes of a file
        const bool refused = setrlimit(RLIMIT_FSIZE, &limit) == 0 &&
                             !SPW_CDirSys::instance->copy(folder.path("f"), folder.path("g"), true);
        _exit(refused ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(folder.exists("g"));
}

TEST(DirPosixTest, FoldersThatTheSuperuserMakesInAUsersFolderAreTheUsers) {
    const TemporaryFolder folder;
    if (geteuid() != 0 || chown(folder.native().c_str(), 65534, 65534) != 0) {
        GTEST_SKIP() << "only the superuser may give folders away";
    }
    EXPECT_EQ(SPW_CDir::makeDir(folder.path("a/b")), 0u);
    struct stat status;
    ASSERT_EQ(stat((folder.native() / "a/b").c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 65534u);
}

}  // namespace
