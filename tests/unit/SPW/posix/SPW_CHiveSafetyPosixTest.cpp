// What keeps a hive's file whole, and whose it is, whatever others do to it meanwhile.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "CallFaults.h"
#include "OtherThreads.h"
#include "RecordingReporter.h"
#include "RegistryFolder.h"
#include "SPW_CHiveFilePosix.h"
#include "SPW_CRegistry.h"

namespace {

std::function<void(int)> beforeSync;
std::function<void(int)> beforeOwner;
std::function<void(const char*)> afterUnlink;
bool timesAreWholeSeconds = false;
bool isLookingRefused = false;

int asOfThisFileSystem(int result, struct stat* status) {
    if (timesAreWholeSeconds) {
        status->st_mtim.tv_nsec = 0;
        status->st_ctim.tv_nsec = 0;
    }
    return result;
}

}  // namespace

// The linker sends the program's calls here (--wrap).
extern "C" {
int __real_fsync(int);
int __wrap_fsync(int file) {
    if (beforeSync) {
        beforeSync(file);
    }
    return __real_fsync(file);
}
int __real_fchown(int, uid_t, gid_t);
int __wrap_fchown(int file, uid_t user, gid_t group) {
    if (beforeOwner) {
        beforeOwner(file);
    }
    return __real_fchown(file, user, group);
}
int __real_unlink(const char*);
int __wrap_unlink(const char* path) {
    const int result = __real_unlink(path);
    if (afterUnlink) {
        afterUnlink(path);
    }
    return result;
}
int __real_stat(const char*, struct stat*);
int __wrap_stat(const char* path, struct stat* status) {
    return asOfThisFileSystem(__real_stat(path, status), status);
}
int __real_fstat(int, struct stat*);
int __wrap_fstat(int file, struct stat* status) {
    if (isLookingRefused) {
        errno = EACCES;
        return -1;
    }
    return asOfThisFileSystem(__real_fstat(file, status), status);
}
}

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using namespace std::chrono_literals;

constexpr char kHiveFile[] = "HKEY_CURRENT_USER.reg";
constexpr char kLockFile[] = "HKEY_CURRENT_USER.reg.lock";
constexpr char kTemporaryFile[] = "HKEY_CURRENT_USER.reg.tmp";
constexpr char kText[] = "[HKEY_CURRENT_USER\\k]\n\"x\"=\"1\"\n";
constexpr uid_t kUser = 65534;
constexpr gid_t kGroup = 4711;

SPW_Result setValue(const char16_t* name, const SPW_CString& value) {
    return SPW_CHiveFilePosix::edit(SPW_CRegistrySys::kCurrentUser, [&](SPW_CRegistryText& text) {
        const SPW_Result code = text.createKey(u"k");
        const auto size = static_cast<std::uint32_t>(value.length() + 1) * 2;
        return code == 0 ? text.setValue(u"k", name, SPW_CRegistryText::kSz, value.text(), size) : code;
    });
}

std::string valueOf(const char16_t* name) {
    SPW_CRegistry registry(u"HKEY_CURRENT_USER", u"k", SPW_CRegistry::kOnlyIfPresent);
    SPW_CRegistryData data;
    SPW_CString text;
    return registry.getValue(name, data) == 0 && data.toText(text) ? text.toAnsi() : "(none)";
}

bool isSuperuser() {
    return geteuid() == 0;
}

// Runs `work` in a process of its own, as that user and of that group alone, and answers whether it said that all was
// well.
template <typename Work>
bool asUser(uid_t user, gid_t group, const Work& work) {
    const pid_t child = fork();
    if (child == 0) {
        const bool changed = !isSuperuser() || (setgroups(0, nullptr) == 0 && setgid(group) == 0 && setuid(user) == 0);
        _exit(changed && work() ? 0 : 1);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Returns when the writer has looked at the lock that many times more.
void awaitLooksAtTheLock(int looks) {
    const int enough = flockCalls + looks;
    EXPECT_TRUE(soon([enough] { return flockCalls >= enough; }));
}

class HiveSafetyPosixTest : public testing::Test {
protected:
    ~HiveSafetyPosixTest() override {
        beforeSync = nullptr;
        beforeOwner = nullptr;
        afterUnlink = nullptr;
        timesAreWholeSeconds = false;
    }
    std::string path(const char* name) const { return (m_folder.native() / name).string(); }
    struct stat statusOf(const char* name) const {
        struct stat status = {};
        EXPECT_EQ(stat(path(name).c_str(), &status), 0) << name;
        return status;
    }
    mode_t modeOf(const char* name) const { return statusOf(name).st_mode & 07777; }
    int openLock() const { return open(path(kLockFile).c_str(), O_RDWR | O_CREAT, 0600); }

    RegistryFolder m_folder;
    RecordingReporter m_reporter;
};

// --- Files that somebody is writing ---

TEST_F(HiveSafetyPosixTest, FileThatIsEmptiedAndFilledLaterKeepsWhatItIsFilledWith) {
    m_folder.writeNow(kHiveFile, "");
    std::thread writer([] { EXPECT_EQ(setValue(u"y", u"2"), 0u); });
    awaitOthersAsleep();
    m_folder.write(kHiveFile, kText);
    writer.join();
    EXPECT_EQ(m_folder.read(kHiveFile), kText + std::string("\"y\"=\"2\"\n"));
    EXPECT_TRUE(m_reporter.boxes().empty());
}

TEST_F(HiveSafetyPosixTest, FileThatIsWrittenInPiecesIsNotReplacedBetweenThem) {
    m_folder.writeNow(kHiveFile, "[HKEY_CURRENT_USER\\k]\n");
    std::thread writer([] { EXPECT_EQ(setValue(u"y", u"2"), 0u); });
    awaitOthersAsleep();
    m_folder.write(kHiveFile, kText);
    writer.join();
    EXPECT_EQ(m_folder.read(kHiveFile), kText + std::string("\"y\"=\"2\"\n"));
}

TEST_F(HiveSafetyPosixTest, FileThatDoesNotComeToRestIsLeftAloneAndToldOnce) {
    m_folder.writeNow(kHiveFile, kText);
    std::atomic<bool> ended{false};
    std::thread editor([&] {
        while (!ended) {
            m_folder.writeNow(kHiveFile, kText);
            std::this_thread::sleep_for(5ms);
        }
    });
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(setValue(u"y", u"2"), 1009u);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 3s);
    ended = true;
    editor.join();
    EXPECT_EQ(m_folder.read(kHiveFile), kText);
    ASSERT_EQ(m_reporter.boxes().size(), 1u);
    EXPECT_THAT(m_reporter.boxes()[0].text, HasSubstr(path(kHiveFile) + ": somebody is writing this file"));
}

TEST_F(HiveSafetyPosixTest, FileThatIsEmptyForLongIsLeftAloneAtOnceAndToldOnce) {
    m_folder.write(kHiveFile, "");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(setValue(u"x", u"1"), 1009u);
    EXPECT_EQ(setValue(u"x", u"1"), 1009u);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
    EXPECT_EQ(m_folder.read(kHiveFile), "");
    ASSERT_EQ(m_reporter.boxes().size(), 1u);
    EXPECT_THAT(m_reporter.boxes()[0].text, HasSubstr(path(kHiveFile) + ": the file is empty"));
}

TEST_F(HiveSafetyPosixTest, WholeFilesThatThisProgramHasWrittenHoldNobodyUp) {
    const auto begin = std::chrono::steady_clock::now();
    for (const char16_t* name : {u"a", u"b", u"c"}) {
        EXPECT_EQ(setValue(name, u"1"), 0u);
        EXPECT_TRUE(asUser(geteuid(), getegid(), [&] { return setValue(name, u"2") == 0; }));
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2500ms);
}

TEST_F(HiveSafetyPosixTest, EditThatChangesNothingWaitsForNothing) {
    m_folder.writeNow(kHiveFile, kText);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(setValue(u"x", u"1"), 0u);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
}

TEST_F(HiveSafetyPosixTest, SomebodyWhoIsAlwaysFasterEndsTheEdit) {
    m_folder.write(kHiveFile, kText);
    int calls = 0;
    EXPECT_EQ(SPW_CHiveFilePosix::edit(SPW_CRegistrySys::kCurrentUser,
                                       [&](SPW_CRegistryText& text) {
                                           m_folder.write(kHiveFile, kText + ("; " + std::to_string(++calls) + "\n"));
                                           return calls < 1000
                                                      ? text.setValue(u"k", u"y", SPW_CRegistryText::kSz, u"2", 4)
                                                      : 5;
                                       }),
              1009u);
    EXPECT_THAT(calls, testing::Lt(100));
    EXPECT_EQ(m_reporter.boxes().size(), 1u);
}

TEST_F(HiveSafetyPosixTest, HandEditThatTheTimesDoNotShowIsNotLost) {
    timesAreWholeSeconds = true;
    const std::string byHand = "[HKEY_CURRENT_USER\\k]\n\"x\"=\"3\"\n";
    m_folder.write(kHiveFile, kText);
    const auto written = std::filesystem::last_write_time(m_folder.native() / kHiveFile);
    EXPECT_EQ(SPW_CHiveFilePosix::edit(SPW_CRegistrySys::kCurrentUser,
                                       [&](SPW_CRegistryText& text) {
                                           if (m_folder.read(kHiveFile) == kText) {
                                               m_folder.writeNow(kHiveFile, byHand);
                                               std::filesystem::last_write_time(m_folder.native() / kHiveFile, written);
                                           }
                                           return text.setValue(u"k", u"y", SPW_CRegistryText::kSz, u"2", 4);
                                       }),
              0u);
    EXPECT_EQ(m_folder.read(kHiveFile), byHand + "\"y\"=\"2\"\n");
}

// As on a file system that keeps no fractions of a second.
TEST_F(HiveSafetyPosixTest, HandEditsWithinOneSecondCountAtTheNextOperation) {
    timesAreWholeSeconds = true;
    for (int tries = 0; tries < 2; ++tries) {
        // Both edits, and a look between them that could remember the first, fall into one second.
        const auto intoSecond = std::chrono::system_clock::now().time_since_epoch() % 1s;
        std::this_thread::sleep_for(intoSecond > 500ms ? 1s - intoSecond : 0ms);
        m_folder.writeNow(kHiveFile, kText);
        std::this_thread::sleep_for(150ms);
        EXPECT_EQ(valueOf(u"x"), "1");
        m_folder.writeNow(kHiveFile, "[HKEY_CURRENT_USER\\k]\n\"x\"=\"3\"\n");
        EXPECT_EQ(valueOf(u"x"), "3");
    }
}

TEST_F(HiveSafetyPosixTest, FileThatIsTooLargeIsToldWithoutBeingRead) {
    m_folder.write(kHiveFile, kText);
    ASSERT_EQ(truncate(path(kHiveFile).c_str(), 3LL << 30), 0);
    EXPECT_EQ(valueOf(u"x"), "(none)");
    EXPECT_EQ(setValue(u"x", u"2"), 1009u);
    EXPECT_EQ(std::filesystem::file_size(m_folder.native() / kHiveFile), std::uintmax_t{3} << 30);
    ASSERT_EQ(m_reporter.boxes().size(), 1u);
    EXPECT_THAT(m_reporter.boxes()[0].text, HasSubstr(path(kHiveFile) + ": the file is larger than 16 megabytes"));
}

TEST_F(HiveSafetyPosixTest, PipeInThePlaceOfTheFileIsAccessDeniedAtOnceAndStays) {
    ASSERT_EQ(mkfifo(path(kHiveFile).c_str(), 0600), 0);
    std::shared_ptr<const SPW_CRegistryText> text;
    EXPECT_EQ(SPW_CHiveFilePosix::read(SPW_CRegistrySys::kCurrentUser, text), 5u);
    EXPECT_EQ(setValue(u"x", u"1"), 5u);
    EXPECT_TRUE(S_ISFIFO(statusOf(kHiveFile).st_mode));
}

// --- The lock ---

TEST_F(HiveSafetyPosixTest, LockThatIsHeldForLongIsAnErrorAfterTwoSecondsAndToldOnce) {
    m_folder.write(kHiveFile, kText);
    int other = openLock();
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(setValue(u"x", u"2"), 32u);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 2s);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
    EXPECT_EQ(m_folder.read(kHiveFile), kText);
    EXPECT_EQ(setValue(u"x", u"2"), 32u);
    ASSERT_EQ(m_reporter.boxes().size(), 1u);
    EXPECT_THAT(m_reporter.boxes()[0].text, HasSubstr(path(kHiveFile) + ": another program has held the lock"));
    close(other);
    EXPECT_EQ(setValue(u"x", u"2"), 0u);
    other = openLock();
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    EXPECT_EQ(setValue(u"x", u"3"), 32u);
    EXPECT_EQ(m_reporter.boxes().size(), 2u) << "free in between";
    close(other);
}

TEST_F(HiveSafetyPosixTest, LockThatNobodyMayLookAtIsAnErrorAtOnce) {
    m_folder.write(kHiveFile, kText);
    const auto begin = std::chrono::steady_clock::now();
    isLookingRefused = true;
    EXPECT_EQ(setValue(u"x", u"2"), 5u);
    isLookingRefused = false;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
    EXPECT_EQ(setValue(u"x", u"2"), 0u) << "the lock is free";
}

TEST_F(HiveSafetyPosixTest, LockThatHasBeenReplacedMeanwhileDoesNotCount) {
    m_folder.write(kHiveFile, kText);
    const int removed = openLock();
    ASSERT_EQ(flock(removed, LOCK_EX), 0);
    std::thread writer([] { EXPECT_EQ(setValue(u"x", u"2"), 0u); });
    awaitLooksAtTheLock(3);
    ASSERT_EQ(__real_unlink(path(kLockFile).c_str()), 0);
    const int present = openLock();
    ASSERT_EQ(flock(present, LOCK_EX), 0);
    close(removed);
    awaitLooksAtTheLock(3);
    EXPECT_EQ(m_folder.read(kHiveFile), kText) << "the lock on the path is another program's";
    close(present);
    writer.join();
    EXPECT_EQ(valueOf(u"x"), "2");
}

TEST_F(HiveSafetyPosixTest, WhatIsWrongWithTheFileIsToldWhenTheLockIsFree) {
    class AsksForTheLock : public SPW_CMessageBox {
    public:
        explicit AsksForTheLock(std::string path) : m_path(std::move(path)) {}
        Answer show(const SPW_CString&, const SPW_CString&, Buttons, Icon) override {
            const int lock = open(m_path.c_str(), O_RDWR);
            free.push_back(flock(lock, LOCK_EX | LOCK_NB) == 0);
            close(lock);
            return kAnswerOk;
        }
        std::vector<bool> free;

    private:
        const std::string m_path;
    } box(path(kLockFile));
    m_reporter.reporter().setMessageBox(&box);
    m_folder.write(kHiveFile, "?");
    EXPECT_EQ(setValue(u"x", u"1"), 1009u);
    m_folder.write(kHiveFile, "");
    EXPECT_EQ(setValue(u"x", u"1"), 1009u);
    EXPECT_THAT(box.free, ElementsAre(true, true));
}

TEST_F(HiveSafetyPosixTest, LinkInThePlaceOfTheLockIsNotFollowed) {
    m_folder.write("victim", "mine");
    std::filesystem::create_symlink("victim", m_folder.native() / kLockFile);
    EXPECT_NE(setValue(u"x", u"1"), 0u);
    EXPECT_EQ(m_folder.read("victim"), "mine");
    EXPECT_FALSE(m_folder.exists(kHiveFile));
}

TEST_F(HiveSafetyPosixTest, SecondNameInThePlaceOfTheLockStaysAsItIs) {
    m_folder.write("victim", "mine");
    std::filesystem::permissions(m_folder.native() / "victim", std::filesystem::perms(0640));
    std::filesystem::create_hard_link(m_folder.native() / "victim", m_folder.native() / kLockFile);
    if (isSuperuser()) {
        ASSERT_EQ(chown(m_folder.native().c_str(), kUser, kUser), 0);
    }
    EXPECT_EQ(setValue(u"x", u"1"), 0u);
    EXPECT_EQ(m_folder.read("victim"), "mine");
    EXPECT_EQ(statusOf("victim").st_uid, geteuid());
    EXPECT_EQ(modeOf("victim"), 0640u);
}

TEST_F(HiveSafetyPosixTest, LockIsForThoseWhoMayWriteTheFile) {
    for (const mode_t mode : {0600u, 0644u, 0660u, 0664u, 0666u}) {
        m_folder.write(kHiveFile, kText);
        ASSERT_EQ(chmod(path(kHiveFile).c_str(), mode), 0);
        EXPECT_EQ(setValue(u"y", u"2"), 0u);
        EXPECT_EQ(modeOf(kLockFile), (mode & 0222) * 3) << std::oct << mode;
    }
}

TEST_F(HiveSafetyPosixTest, EveryMemberOfAGroupCanWriteTheFileOfTheGroup) {
    if (!isSuperuser()) {
        GTEST_SKIP() << "only the superuser can be several users";
    }
    ASSERT_EQ(chown(m_folder.native().c_str(), 1001, kGroup), 0);
    ASSERT_EQ(chmod(m_folder.native().c_str(), 02770), 0);
    m_folder.write(kHiveFile, kText);
    ASSERT_EQ(chown(path(kHiveFile).c_str(), 1001, kGroup), 0);
    ASSERT_EQ(chmod(path(kHiveFile).c_str(), 0660), 0);
    for (const uid_t member : {1001u, 1002u, 1003u, 1001u}) {
        EXPECT_TRUE(asUser(member, kGroup, [&] { return setValue(u"by", SPW_CString(static_cast<int>(member))) == 0; }))
            << member;
        EXPECT_EQ(valueOf(u"by"), std::to_string(member));
        EXPECT_EQ(modeOf(kHiveFile), 0660u);
        EXPECT_EQ(statusOf(kHiveFile).st_gid, kGroup);
    }
}

// --- The replacement ---

TEST_F(HiveSafetyPosixTest, NewTextIsOnTheDiskBeforeItIsInPlaceAndItsPlaceAfterwards) {
    m_folder.write(kHiveFile, kText);
    std::vector<std::string> synced;
    beforeSync = [&](int file) {
        struct stat status = {};
        ASSERT_EQ(fstat(file, &status), 0);
        const bool inPlace = m_folder.read(kHiveFile) != kText;
        synced.push_back(std::string(S_ISDIR(status.st_mode) ? "folder" : "file") + (inPlace ? " after" : " before"));
    };
    EXPECT_EQ(setValue(u"x", u"2"), 0u);
    EXPECT_THAT(synced, ElementsAre("file before", "folder after"));
}

TEST_F(HiveSafetyPosixTest, ReplacementIsNobodyElsesUntilItHasTheRightsOfTheFile) {
    m_folder.write(kHiveFile, kText);
    ASSERT_EQ(chmod(path(kHiveFile).c_str(), 0644), 0);
    std::vector<mode_t> modes;
    beforeOwner = [&](int file) {
        struct stat status = {};
        struct stat temporary = {};
        if (fstat(file, &status) == 0 && stat(path(kTemporaryFile).c_str(), &temporary) == 0 &&
            status.st_ino == temporary.st_ino) {
            modes.push_back(status.st_mode & 07777);
        }
    };
    EXPECT_EQ(setValue(u"x", u"2"), 0u);
    EXPECT_THAT(modes, testing::Each(0600u));
    EXPECT_FALSE(modes.empty());
    EXPECT_EQ(modeOf(kHiveFile), 0644u);
}

// A user with the right to write the folder could put a link there as soon as an old temporary file is gone.
TEST_F(HiveSafetyPosixTest, LinkInThePlaceOfTheTemporaryFileIsNotFollowed) {
    m_folder.write(kHiveFile, kText);
    m_folder.write("victim", "mine");
    bool planted = false;
    afterUnlink = [&](const char* removed) {
        if (!planted && path(kTemporaryFile) == removed) {
            planted = true;
            std::filesystem::create_symlink("victim", removed);
        }
    };
    EXPECT_NE(setValue(u"x", u"2"), 0u);
    EXPECT_TRUE(planted);
    EXPECT_EQ(m_folder.read("victim"), "mine");
    EXPECT_EQ(m_folder.read(kHiveFile), kText);
}

TEST_F(HiveSafetyPosixTest, ExtendedAttributesAndAccessControlListStay) {
    // Version 2; owner rw, user 65534 rw, group r, mask rw, others none.
    static constexpr unsigned char kList[] = {
        2,    0,    0,    0,    1,    0, 6, 0, 0xFF, 0xFF, 0xFF, 0xFF, 2,    0, 6, 0, 0xFE, 0xFF, 0,    0,   4, 0, 4, 0,
        0xFF, 0xFF, 0xFF, 0xFF, 0x10, 0, 6, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0x20, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF};
    m_folder.write(kHiveFile, kText);
    const std::string file = path(kHiveFile);
    if (setxattr(file.c_str(), "user.note", "mine", 4, 0) != 0 ||
        setxattr(file.c_str(), "system.posix_acl_access", kList, sizeof kList, 0) != 0) {
        GTEST_SKIP() << "the file system of " << m_folder.native() << " keeps neither of them";
    }
    EXPECT_EQ(setValue(u"x", u"2"), 0u);
    EXPECT_EQ(valueOf(u"x"), "2");
    char value[sizeof kList + 1];
    EXPECT_EQ(getxattr(file.c_str(), "user.note", value, sizeof value), 4);
    EXPECT_EQ(std::string(value, 4), "mine");
    ASSERT_EQ(getxattr(file.c_str(), "system.posix_acl_access", value, sizeof value), ssize_t{sizeof kList});
    EXPECT_EQ(std::memcmp(value, kList, sizeof kList), 0);
}

TEST_F(HiveSafetyPosixTest, ListOfTheFolderIsNotGivenToAFileThatHadNone) {
    // Version 2; owner rwx, user 65534 rwx, group rwx, mask rwx, others none.
    static constexpr unsigned char kDefaults[] = {
        2,    0,    0,    0,    1,    0, 7, 0, 0xFF, 0xFF, 0xFF, 0xFF, 2,    0, 7, 0, 0xFE, 0xFF, 0,    0,   4, 0, 7, 0,
        0xFF, 0xFF, 0xFF, 0xFF, 0x10, 0, 7, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0x20, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF};
    m_folder.write(kHiveFile, kText);
    ASSERT_EQ(chmod(path(kHiveFile).c_str(), 0660), 0);
    if (setxattr(m_folder.native().c_str(), "system.posix_acl_default", kDefaults, sizeof kDefaults, 0) != 0) {
        GTEST_SKIP() << "the file system of " << m_folder.native() << " keeps none";
    }
    EXPECT_EQ(setValue(u"x", u"2"), 0u);
    EXPECT_EQ(getxattr(path(kHiveFile).c_str(), "system.posix_acl_access", nullptr, 0), -1);
    EXPECT_EQ(modeOf(kHiveFile), 0660u);
}

TEST_F(HiveSafetyPosixTest, RightsOfAGroupThatCannotBeKeptGoToNoOther) {
    if (!isSuperuser()) {
        GTEST_SKIP() << "only the superuser may give files away";
    }
    m_folder.write(kHiveFile, kText);
    ASSERT_EQ(chown(path(kHiveFile).c_str(), 0, kGroup), 0);
    ASSERT_EQ(chmod(path(kHiveFile).c_str(), 0666), 0);
    ASSERT_EQ(chmod(m_folder.native().c_str(), 0777), 0);
    EXPECT_TRUE(asUser(kUser, kUser, [] { return setValue(u"x", u"2") == 0; }));
    EXPECT_EQ(statusOf(kHiveFile).st_uid, kUser);
    EXPECT_EQ(modeOf(kHiveFile), 0606u);
}

TEST_F(HiveSafetyPosixTest, ReadOnlyFileStaysAsItIs) {
    m_folder.write(kHiveFile, kText);
    ASSERT_EQ(chmod(path(kHiveFile).c_str(), 0444), 0);
    ASSERT_EQ(chmod(m_folder.native().c_str(), 0777), 0);
    EXPECT_TRUE(asUser(kUser, kUser, [] { return setValue(u"x", u"2") == 5; }));
    EXPECT_EQ(m_folder.read(kHiveFile), kText);
}

// --- Folders ---

TEST_F(HiveSafetyPosixTest, FolderOfTheCurrentUserIsNobodyElses) {
    setenv("VANTIRO_REGISTRY_DIR", path("a/b").c_str(), 1);
    EXPECT_EQ(setValue(u"x", u"1"), 0u);
    EXPECT_EQ(modeOf("a"), 0700u);
    EXPECT_EQ(modeOf("a/b"), 0700u);
}

TEST_F(HiveSafetyPosixTest, FolderOfTheMachineIsForAllToRead) {
    setenv("VANTIRO_REGISTRY_DIR", path("a").c_str(), 1);
    const mode_t before = umask(022);
    const SPW_CRegistry registry(u"HKEY_LOCAL_MACHINE", u"k");
    umask(before);
    EXPECT_EQ(modeOf("a"), 0755u);
}

TEST_F(HiveSafetyPosixTest, FoldersThatTheSuperuserMakesInAUsersFolderAreTheUsers) {
    if (!isSuperuser()) {
        GTEST_SKIP() << "only the superuser may give folders away";
    }
    ASSERT_EQ(chown(m_folder.native().c_str(), kUser, kUser), 0);
    setenv("VANTIRO_REGISTRY_DIR", path("a/b/").c_str(), 1);
    EXPECT_EQ(setValue(u"x", u"1"), 0u);
    for (const char* name : {"a", "a/b", "a/b/HKEY_CURRENT_USER.reg"}) {
        EXPECT_EQ(statusOf(name).st_uid, kUser) << name;
    }
    EXPECT_TRUE(asUser(kUser, kUser, [] { return setValue(u"x", u"2") == 0; }));
}

}  // namespace
