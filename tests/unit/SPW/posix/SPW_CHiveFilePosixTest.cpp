// The registry in text files: what people, other processes and full or locked folders do to it.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "RecordingReporter.h"
#include "RegistryFolder.h"
#include "SPW_CHiveFilePosix.h"
#include "SPW_CRegistry.h"

namespace {

using testing::HasSubstr;

constexpr char kHiveFile[] = "HKEY_CURRENT_USER.reg";
constexpr char16_t kHive[] = u"HKEY_CURRENT_USER";

std::string errorOf(SPW_CRegistry& registry) {
    SPW_CString text;
    EXPECT_EQ(registry.getLastError(text), 0u);
    return text.toAnsi();
}

SPW_Result setString(SPW_CRegistry& registry, const std::string& name, const std::string& value) {
    SPW_CRegistryData data;
    EXPECT_EQ(data.setString(SPW_CString(value.c_str())), 0u);
    return registry.setValue(SPW_CString(name.c_str()), data);
}

std::string stringAt(SPW_CRegistry& registry, const char16_t* name) {
    SPW_CRegistryData data;
    SPW_CString text;
    return registry.getValue(name, data) == 0 && data.toText(text) ? text.toAnsi() : "failed: " + errorOf(registry);
}

std::uint32_t valuesIn(SPW_CRegistry& registry) {
    std::uint32_t count = 0;
    EXPECT_EQ(registry.getNumberOfValues(count), 0u) << errorOf(registry);
    return count;
}

// Runs `work` in a process of its own and answers whether it said that all was well.
template <typename Work>
bool inProcess(const Work& work) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(work() ? 0 : 1);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

class HiveFilePosixTest : public testing::Test {
protected:
    RegistryFolder m_folder;
    RecordingReporter m_reporter;
};

// --- Where the files are ---

TEST_F(HiveFilePosixTest, CurrentUserLivesInTheConfigurationFolder) {
    unsetenv("VANTIRO_REGISTRY_DIR");
    setenv("XDG_CONFIG_HOME", (m_folder.native() / "new" / "config").c_str(), 1);
    const SPW_CRegistry registry(kHive, u"a");
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_TRUE(m_folder.exists("new/config/vantiro-diagnostic/HKEY_CURRENT_USER.reg"));
}

TEST_F(HiveFilePosixTest, ConfigurationFolderIsDotConfigUnlessSaidOtherwise) {
    unsetenv("VANTIRO_REGISTRY_DIR");
    setenv("XDG_CONFIG_HOME", "relative/paths/do/not/count", 1);
    const std::string home = std::getenv("HOME") != nullptr ? std::getenv("HOME") : "";
    setenv("HOME", m_folder.native().c_str(), 1);
    const SPW_CRegistry registry(kHive, u"a");
    unsetenv("XDG_CONFIG_HOME");
    setenv("HOME", home.c_str(), 1);
    EXPECT_TRUE(m_folder.exists(".config/vantiro-diagnostic/HKEY_CURRENT_USER.reg"));
}

TEST_F(HiveFilePosixTest, MissingFolderIsMadeForWritingOnly) {
    setenv("VANTIRO_REGISTRY_DIR", (m_folder.native() / "a" / "b").c_str(), 1);
    SPW_CRegistry registry(kHive, u"k", SPW_CRegistry::kOnlyIfPresent);
    std::uint32_t count = 0;
    EXPECT_EQ(registry.getNumberOfValues(count), 540u);
    EXPECT_EQ(errorOf(registry), "RegOpenKeyEx failed2");
    EXPECT_FALSE(m_folder.exists("a"));
    EXPECT_EQ(registry.createKey(u"x"), 0u);
    EXPECT_TRUE(m_folder.exists("a/b/HKEY_CURRENT_USER.reg"));
}

TEST_F(HiveFilePosixTest, FolderThatCannotBeMadeAnswersSilently) {
    m_folder.write("file", "");
    setenv("VANTIRO_REGISTRY_DIR", (m_folder.native() / "file" / "sub").c_str(), 1);
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(registry.createKey(u"x"), 540u);
    EXPECT_THAT(errorOf(registry), testing::StartsWith("RegCreateKeyEx failed"));
    EXPECT_TRUE(m_reporter.boxes().empty());
}

TEST_F(HiveFilePosixTest, FolderThatMayNotBeWrittenIsAccessDenied) {
    m_folder.write(kHiveFile, "[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n");
    std::filesystem::permissions(m_folder.native(), std::filesystem::perms(0555));
    const bool good = inProcess([] {
        if (geteuid() == 0 && setuid(65534) != 0) {
            return false;
        }
        SPW_CRegistry registry(kHive, u"k");
        return stringAt(registry, u"x") == "1" && setString(registry, "x", "2") == 540 &&
               errorOf(registry) == "RegSetValueEx failed 5";
    });
    std::filesystem::permissions(m_folder.native(), std::filesystem::perms(0755));
    EXPECT_TRUE(good);
    EXPECT_TRUE(m_reporter.boxes().empty());
}

TEST_F(HiveFilePosixTest, FileThatMayNotBeReadIsAccessDeniedAndStays) {
    m_folder.write(kHiveFile, "[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n");
    std::filesystem::permissions(m_folder.native() / kHiveFile, std::filesystem::perms(0200));
    std::filesystem::permissions(m_folder.native(), std::filesystem::perms(0777));
    EXPECT_TRUE(inProcess([] {
        if (geteuid() == 0 && setuid(65534) != 0) {
            return false;
        }
        SPW_CRegistry registry(kHive, u"k");
        return stringAt(registry, u"x") == "failed: RegOpenKeyEx failed5" && setString(registry, "x", "2") == 540 &&
               errorOf(registry) == "RegOpenKeyEx failed5" && registry.createKey(u"new") == 540 &&
               errorOf(registry) == "RegCreateKeyEx failed5";
    }));
    std::filesystem::permissions(m_folder.native() / kHiveFile, std::filesystem::perms(0600));
    EXPECT_EQ(m_folder.read(kHiveFile), "[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n");
    EXPECT_TRUE(m_reporter.boxes().empty());
}

TEST_F(HiveFilePosixTest, FileThatCannotBeReadIsToldOfOnceUntilItCouldBe) {
    const std::string file = m_folder.native() / kHiveFile;
    SPW_CRegistry registry(kHive, u"k");
    for (int times = 1; times <= 2; ++times) {
        m_folder.write(kHiveFile, "[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n");
        EXPECT_EQ(stringAt(registry, u"x"), "1");
        ASSERT_EQ(unlink(file.c_str()), 0);
        ASSERT_EQ(symlink(file.c_str(), file.c_str()), 0);  // a link that leads nowhere but to itself
        EXPECT_THAT(stringAt(registry, u"x"), testing::StartsWith("failed: "));
        EXPECT_THAT(stringAt(registry, u"y"), testing::StartsWith("failed: "));
        ASSERT_EQ(m_reporter.boxes().size(), static_cast<std::size_t>(times));
        EXPECT_THAT(m_reporter.boxes().back().text, HasSubstr(file + ": the file cannot be read: "));
        ASSERT_EQ(unlink(file.c_str()), 0);
    }
}

// --- Edits by hand ---

TEST_F(HiveFilePosixTest, HandEditsCountAtTheNextOperation) {
    SPW_CRegistry registry(kHive, u"k");
    for (int i = 0; i < 50; ++i) {
        const std::string number = std::to_string(10 + i);
        m_folder.writeNow(kHiveFile, "[HKEY_CURRENT_USER\\K]\n\"x\"=\"" + number + "\"\n");  // same length, same file
        EXPECT_EQ(stringAt(registry, u"x"), number);
        EXPECT_EQ(stringAt(registry, u"x"), number);
    }
}

TEST_F(HiveFilePosixTest, CommentsAndOrderSurviveAWrite) {
    m_folder.write(kHiveFile, "; mine\n[HKEY_CURRENT_USER\\k]\n\"b\"=\"1\" ; b\n; between\n\"a\"=\"2\"\n");
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(setString(registry, "b", "3"), 0u);
    EXPECT_EQ(setString(registry, "c", "4"), 0u);
    EXPECT_EQ(m_folder.read(kHiveFile),
              "; mine\n[HKEY_CURRENT_USER\\k]\n\"b\"=\"3\" ; b\n; between\n\"a\"=\"2\"\n\"c\"=\"4\"\n");
}

TEST_F(HiveFilePosixTest, KeyThatExistsAndValueThatIsEqualWriteNothing) {
    m_folder.write(kHiveFile, "[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n");
    struct stat before;
    struct stat after;
    ASSERT_EQ(stat((m_folder.native() / kHiveFile).c_str(), &before), 0);
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(m_folder.numberOfEntries(), 1);  // not even a lock
    EXPECT_EQ(setString(registry, "x", "1"), 0u);
    ASSERT_EQ(stat((m_folder.native() / kHiveFile).c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(HiveFilePosixTest, LinkedFileStaysLinkedAndKeepsItsPermissions) {
    m_folder.makeFolder("elsewhere");
    m_folder.write("elsewhere/my.reg", "[HKEY_CURRENT_USER\\k]\n");
    std::filesystem::permissions(m_folder.native() / "elsewhere/my.reg", std::filesystem::perms(0640));
    std::filesystem::create_symlink("elsewhere/my.reg", m_folder.native() / kHiveFile);
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(setString(registry, "x", "1"), 0u);
    EXPECT_TRUE(std::filesystem::is_symlink(m_folder.native() / kHiveFile));
    EXPECT_EQ(m_folder.read("elsewhere/my.reg"), "[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n");
    EXPECT_EQ(std::filesystem::status(m_folder.native() / "elsewhere/my.reg").permissions(),
              std::filesystem::perms(0640));
}

TEST_F(HiveFilePosixTest, LinkToAMissingFileGetsItsFile) {
    m_folder.makeFolder("elsewhere");
    std::filesystem::create_symlink("elsewhere/my.reg", m_folder.native() / kHiveFile);
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(setString(registry, "x", "1"), 0u);
    EXPECT_TRUE(std::filesystem::is_symlink(m_folder.native() / kHiveFile));
    EXPECT_EQ(m_folder.read("elsewhere/my.reg"),
              "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n");
}

TEST_F(HiveFilePosixTest, LinkToAFileInAMissingFolderStaysAsItIs) {
    std::filesystem::create_symlink("missing/my.reg", m_folder.native() / kHiveFile);
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(registry.createKey(u"x"), 540u);
    EXPECT_EQ(errorOf(registry), "RegCreateKeyEx failed2");
    EXPECT_TRUE(std::filesystem::is_symlink(m_folder.native() / kHiveFile));
}

// Each folder has a link of its own; the lock and the temporary file have to be beside the one file.
TEST_F(HiveFilePosixTest, WhoComeByDifferentLinksTakeTurns) {
    m_folder.write("common.reg", "[HKEY_CURRENT_USER\\k]\n");
    for (const char* folder : {"a", "b"}) {
        m_folder.makeFolder(folder);
        std::filesystem::create_symlink("../common.reg", m_folder.native() / folder / kHiveFile);
    }
    setenv("VANTIRO_REGISTRY_DIR", (m_folder.native() / "a").c_str(), 1);
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(setString(registry, "x", "1"), 0u);
    EXPECT_TRUE(m_folder.exists("common.reg.lock"));
    EXPECT_FALSE(m_folder.exists("a/HKEY_CURRENT_USER.reg.lock"));
}

TEST_F(HiveFilePosixTest, GroupStaysWhenTheOwnerCannot) {
    static constexpr gid_t kGroup = 4711;
    const std::string file = (m_folder.native() / kHiveFile).string();
    m_folder.write(kHiveFile, "[HKEY_CURRENT_USER\\k]\n");
    if (geteuid() != 0 || chown(file.c_str(), 0, kGroup) != 0) {
        GTEST_SKIP() << "only the superuser may give files away";
    }
    ASSERT_EQ(chmod(file.c_str(), 0660), 0);
    std::filesystem::permissions(m_folder.native(), std::filesystem::perms(0777));
    EXPECT_TRUE(inProcess([] {
        SPW_CRegistry registry(kHive, u"k");
        return setgroups(1, &kGroup) == 0 && setgid(65534) == 0 && setuid(65534) == 0 &&
               setString(registry, "x", "1") == 0;
    }));
    struct stat status;
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 65534u);
    EXPECT_EQ(status.st_gid, kGroup);
    EXPECT_EQ(status.st_mode & 07777, 0660u);
}

TEST_F(HiveFilePosixTest, WhatTheSuperuserMakesInTheFolderOfAUserIsTheUsers) {
    constexpr uid_t kUser = 65534;
    if (geteuid() != 0 || chown(m_folder.native().c_str(), kUser, kUser) != 0) {
        GTEST_SKIP() << "only the superuser may give files away";
    }
    { const SPW_CRegistry registry(kHive, u"k"); }
    for (const char* name : {kHiveFile, "HKEY_CURRENT_USER.reg.lock"}) {
        struct stat status;
        ASSERT_EQ(stat((m_folder.native() / name).c_str(), &status), 0);
        EXPECT_EQ(status.st_uid, kUser) << name;
    }
    EXPECT_TRUE(inProcess([] {
        SPW_CRegistry registry(kHive, u"k");
        return setuid(kUser) == 0 && setString(registry, "x", "1") == 0;
    }));
}

TEST_F(HiveFilePosixTest, HandEditDuringAWriteIsNotLost) {
    m_folder.write(kHiveFile, "[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n");
    int calls = 0;
    EXPECT_EQ(SPW_CHiveFilePosix::edit(SPW_CRegistrySys::kCurrentUser,
                                       [&](SPW_CRegistryText& text) {
                                           if (++calls == 1) {
                                               m_folder.write(kHiveFile, "[HKEY_CURRENT_USER\\k]\n\"x\"=\"by hand\"\n");
                                           }
                                           return text.setValue(u"k", u"y", SPW_CRegistryText::kSz, u"2", 4);
                                       }),
              0u);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(m_folder.read(kHiveFile), "[HKEY_CURRENT_USER\\k]\n\"x\"=\"by hand\"\n\"y\"=\"2\"\n");
    EXPECT_FALSE(m_folder.exists("HKEY_CURRENT_USER.reg.tmp"));
}

TEST_F(HiveFilePosixTest, FileThatAppearsDuringAWriteIsNotLost) {
    int calls = 0;
    EXPECT_EQ(SPW_CHiveFilePosix::edit(SPW_CRegistrySys::kCurrentUser,
                                       [&](SPW_CRegistryText& text) {
                                           if (++calls == 1) {
                                               m_folder.write(kHiveFile, "[HKEY_CURRENT_USER\\k]\n\"x\"=\"by hand\"\n");
                                           }
                                           return text.createKey(u"new");
                                       }),
              0u);
    EXPECT_THAT(m_folder.read(kHiveFile), HasSubstr("\"x\"=\"by hand\""));
}

// Writes as editors do that keep the file: empties it, or writes half of it, and then the rest.
void writeInTwoSteps(const RegistryFolder& folder, const std::string& half, const std::string& whole) {
    folder.writeNow(kHiveFile, half);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    folder.writeNow(kHiveFile, whole);
}

TEST_F(HiveFilePosixTest, FileThatIsBeingWrittenIsWaitedFor) {
    const std::string whole = "[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n";
    for (const std::string& half : {std::string(), whole.substr(0, 30)}) {
        bool waited = false;
        // A machine that is busy elsewhere may take longer over the second step than a reader waits.
        for (int attempt = 0; attempt < 20 && !waited; ++attempt) {
            m_folder.writeNow(kHiveFile, half);
            std::thread editor([&] { writeInTwoSteps(m_folder, half, whole); });
            SPW_CRegistry registry(kHive, u"k", SPW_CRegistry::kOnlyIfPresent);
            const std::size_t boxesBefore = m_reporter.boxes().size();
            waited = stringAt(registry, u"x") == "1" && m_reporter.boxes().size() == boxesBefore;
            editor.join();
        }
        EXPECT_TRUE(waited) << half;
    }
}

TEST_F(HiveFilePosixTest, DamagedFileOfTheFutureIsNotWaitedFor) {
    m_folder.write(kHiveFile, "?");
    std::filesystem::last_write_time(m_folder.native() / kHiveFile,
                                     std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
    const auto begin = std::chrono::steady_clock::now();
    // With a wait each they would take twice the time.
    for (int i = 0; i < 500; ++i) {
        SPW_CRegistry registry(kHive, u"k", SPW_CRegistry::kOnlyIfPresent);
        EXPECT_EQ(stringAt(registry, u"x"), "failed: RegOpenKeyEx failed1009");
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

// --- Damaged files ---

TEST_F(HiveFilePosixTest, CutOffFileIsReportedWithItsLineAndNeverOverwritten) {
    const std::string cut = "[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n\"y\"=\"hal";
    m_folder.write(kHiveFile, cut);
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(stringAt(registry, u"x"), "failed: RegOpenKeyEx failed1009");
    EXPECT_EQ(setString(registry, "x", "2"), 540u);
    EXPECT_EQ(errorOf(registry), "RegOpenKeyEx failed1009");
    EXPECT_EQ(registry.createKey(u"new"), 540u);
    EXPECT_EQ(errorOf(registry), "RegCreateKeyEx failed1009");
    EXPECT_EQ(registry.deleteKey(u"new"), 540u);
    EXPECT_EQ(m_folder.read(kHiveFile), cut);

    const auto boxes = m_reporter.boxes();
    ASSERT_EQ(boxes.size(), 1u);  // once, not at every operation
    EXPECT_THAT(boxes[0].text,
                HasSubstr((m_folder.native() / kHiveFile).string() + ":3: the closing quotation mark is missing"));
    EXPECT_THAT(boxes[0].text, HasSubstr("CID: SPW_CRegistry\n"));
}

TEST_F(HiveFilePosixTest, DamagedFileIsReportedAgainAfterItHasChanged) {
    m_folder.write(kHiveFile, "?");
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(m_reporter.boxes().size(), 1u);
    m_folder.write(kHiveFile, "\n?");
    EXPECT_EQ(registry.createKey(u"x"), 540u);
    EXPECT_EQ(m_reporter.boxes().size(), 2u);
    m_folder.write(kHiveFile, "[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n");
    EXPECT_EQ(stringAt(registry, u"x"), "1");
    EXPECT_EQ(m_reporter.boxes().size(), 2u);
}

TEST_F(HiveFilePosixTest, SomethingElseInThePlaceOfTheFileIsAccessDenied) {
    m_folder.makeFolder(kHiveFile);
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(stringAt(registry, u"x"), "failed: RegOpenKeyEx failed5");
}

// --- Several at once ---

TEST_F(HiveFilePosixTest, WriterWaitsForTheLockAndReadersDoNot) {
    m_folder.write(kHiveFile, "[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n");
    const int other = open((m_folder.native() / "HKEY_CURRENT_USER.reg.lock").c_str(), O_RDWR | O_CREAT, 0600);
    ASSERT_GE(other, 0);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    std::atomic<bool> written{false};
    std::thread writer([&] {
        SPW_CRegistry registry(kHive, u"k");
        EXPECT_EQ(setString(registry, "x", "2"), 0u);
        written = true;
    });
    // The writer never rests: it looks at the lock again and again.
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(stringAt(registry, u"x"), "1");
    EXPECT_FALSE(written);
    close(other);
    writer.join();
    EXPECT_EQ(stringAt(registry, u"x"), "2");
}

TEST_F(HiveFilePosixTest, TwoProcessesLoseNothing) {
    constexpr int kEach = 40;
    std::vector<pid_t> children;
    for (const char* prefix : {"a", "b"}) {
        const pid_t child = fork();
        if (child == 0) {
            bool good = true;
            SPW_CRegistry registry(kHive, u"k");
            for (int i = 0; i < kEach; ++i) {
                good = setString(registry, prefix + std::to_string(i), "v") == 0 && good;
            }
            _exit(good ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(valuesIn(registry), 2u * kEach);
    EXPECT_EQ(m_folder.numberOfEntries(), 2);  // the hive and its lock, nothing left behind
}

TEST_F(HiveFilePosixTest, ThreadsLoseNothingAndReadersSeeWholeFilesOnly) {
    constexpr int kEach = 20;
    { const SPW_CRegistry make(kHive, u"k"); }
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([t] {
            SPW_CRegistry registry(kHive, u"k");
            for (int i = 0; i < kEach; ++i) {
                const std::string name = std::to_string(t) + "-" + std::to_string(i);
                EXPECT_EQ(setString(registry, name, "v"), 0u);
                EXPECT_GT(valuesIn(registry), static_cast<std::uint32_t>(i));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(valuesIn(registry), 3u * kEach);
}

TEST_F(HiveFilePosixTest, WriteThatFailsHalfWayLeavesTheOldFile) {
    const std::string before = "[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n";
    m_folder.write(kHiveFile, before);
    EXPECT_TRUE(inProcess([] {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {64, 64};  // bytes of a file
        SPW_CRegistry registry(kHive, u"k");
        return setrlimit(RLIMIT_FSIZE, &limit) == 0 && setString(registry, "y", std::string(200, 'y')) == 540 &&
               stringAt(registry, u"x") == "1";
    }));
    EXPECT_EQ(m_folder.read(kHiveFile), before);
    EXPECT_FALSE(m_folder.exists("HKEY_CURRENT_USER.reg.tmp"));
    EXPECT_TRUE(m_reporter.boxes().empty());
}

TEST_F(HiveFilePosixTest, WhatACrashedWriterLeftDoesNoHarm) {
    m_folder.write("HKEY_CURRENT_USER.reg.tmp", "half of");
    m_folder.write("HKEY_CURRENT_USER.reg.lock", "");
    SPW_CRegistry registry(kHive, u"k");
    EXPECT_EQ(setString(registry, "x", "1"), 0u);
    EXPECT_EQ(stringAt(registry, u"x"), "1");
    EXPECT_FALSE(m_folder.exists("HKEY_CURRENT_USER.reg.tmp"));
}

TEST_F(HiveFilePosixTest, ThousandsOfValuesAreEnumeratedFast) {
    std::string text = "[HKEY_CURRENT_USER\\k]\n";
    for (int i = 0; i < 5000; ++i) {
        text += "\"peer" + std::to_string(i) + "\"=\"10.0.0.1\"\n";
    }
    m_folder.write(kHiveFile, text);
    // As old as a file usually is: one that was written this moment is read anew at every look.
    std::filesystem::last_write_time(m_folder.native() / kHiveFile,
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    SPW_CRegistry registry(kHive, u"k");
    SPW_CString name;
    SPW_CRegistryData data;
    std::uint32_t found = 0;
    while (registry.enumValue(found, name, data) == 0) {
        ++found;
    }
    EXPECT_EQ(found, 5000u);
    EXPECT_EQ(errorOf(registry), "RegEnumValue failed 259");
}

}  // namespace
