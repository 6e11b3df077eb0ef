#include "SPW_CDir.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "DirSysForwarder.h"
#include "RecordingReporter.h"
#include "SPW_CSysError.h"
#include "ScopedInstance.h"
#include "ScriptedClock.h"
#include "StringPrinting.h"
#include "TemporaryFolder.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

// The system's errors as the test sets them; what the real one answers is a matter of language.
class ScriptedSysError : public SPW_CSysError {
public:
    SPW_CString text(SPW_Result code) override {
        SPW_CString text(u"message ");
        text += static_cast<unsigned long>(code);
        return text;
    }
    SPW_Result last() override { return scripted == 0 ? m_real->last() : scripted; }
    SPW_Result scripted = 0;  // 0: the real one's

private:
    SPW_CSysError* const m_real = SPW_CSysError::instance;
};

class DirTest : public testing::Test {
protected:
    SPW_CString path(const char* name) const { return m_folder.path(name); }
    std::string text(const char* name) const { return m_folder.path(name).toAnsi(); }
    // "Cant't " + action + " " + path + " Error: " + the system's message.
    std::string systemFailure(const char* action, const std::string& where, SPW_Result code) const {
        return std::string("Cant't ") + action + " " + where + " Error: message " + std::to_string(code);
    }
    std::vector<std::string> found(const char* pattern) {
        std::vector<std::string> names;
        SPW_CDir dir;
        SPW_CDirEntry entry;
        bool isFound = false;
        EXPECT_EQ(dir.findFirst(path(pattern), entry, isFound), 0u);
        while (isFound) {
            names.emplace_back(entry.name.toAnsi());
            EXPECT_EQ(dir.findNext(entry, isFound), 0u);
        }
        EXPECT_EQ(dir.findClose(), 0u);
        return names;
    }

    TemporaryFolder m_folder;
    RecordingReporter m_reporter;
    ScriptedSysError m_errors;
    ScopedInstance<SPW_CSysError> m_installed{m_errors};
};

// --- Existing ---

TEST_F(DirTest, FilesAndDirectoriesAreToldApartWithoutAReport) {
    m_folder.write("f", "");
    m_folder.makeFolder("d");
    EXPECT_EQ(SPW_CDir::fileExists(path("f")), 0u);
    EXPECT_EQ(SPW_CDir::fileExists(path("d")), 123u);
    EXPECT_EQ(SPW_CDir::fileExists(path("missing")), 123u);
    EXPECT_EQ(SPW_CDir::dirExists(path("d")), 0u);
    EXPECT_EQ(SPW_CDir::dirExists(path("f")), 128u);
    EXPECT_EQ(SPW_CDir::dirExists(path("missing")), 128u);
    EXPECT_THAT(m_reporter.reports(), IsEmpty());
}

// --- makeDir ---

TEST_F(DirTest, MakesThreeLevelsAtOnce) {
    EXPECT_EQ(SPW_CDir::makeDir(path("a/b/c/")), 0u);
    EXPECT_TRUE(m_folder.exists("a/b/c"));
    EXPECT_EQ(SPW_CDir::makeDir(path("a/b/c")), 0u);
    EXPECT_THAT(m_reporter.reports(), IsEmpty());
}

TEST_F(DirTest, DirectoryThatCannotBeMadeIsReportedOnceWhereItFails) {
    m_folder.write("f", "");
    EXPECT_EQ(SPW_CDir::makeDir(path("f")), 135u);
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "makeDir", 135, "Failed to create directory " + text("f"))));
    EXPECT_EQ(SPW_CDir::makeDir(path("f/a/b")), 135u);
    EXPECT_THAT(m_reporter.takeReports(), SizeIs(1));
    EXPECT_EQ(SPW_CDir::makeDir(u""), 135u);
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "makeDir", 135, "Failed to create directory ")));
}

// --- removeDir ---

TEST_F(DirTest, EmptyPathAndDotsAreRefusedWithoutAReport) {
    m_folder.makeFolder("a/b");
    for (const SPW_CString& bad : {SPW_CString(), path("a/."), path("a/b/..")}) {
        EXPECT_EQ(SPW_CDir::removeDir(bad, true), 6u);
    }
    EXPECT_TRUE(m_folder.exists("a/b"));
    EXPECT_THAT(m_reporter.reports(), IsEmpty());
}

TEST_F(DirTest, RemovesAnEmptyDirectoryGivenWithASeparatorAtItsEnd) {
    m_folder.makeFolder("a");
    EXPECT_EQ(SPW_CDir::removeDir(path("a/"), false), 0u);
    EXPECT_FALSE(m_folder.exists("a"));
}

TEST_F(DirTest, DirectoryThatIsNotEmptyStaysWithTheSystemsMessage) {
    m_folder.makeFolder("a/b");
    EXPECT_EQ(SPW_CDir::removeDir(path("a"), false), 136u);
    EXPECT_TRUE(m_folder.exists("a/b"));
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "removeDir", 136,
                                     systemFailure("delete directory", text("a"), kSysDirNotEmpty))));
}

TEST_F(DirTest, MissingDirectoryIsReported) {
    EXPECT_EQ(SPW_CDir::removeDir(path("a/"), true), 128u);
    const auto reports = m_reporter.takeReports();
    ASSERT_THAT(reports,
                ElementsAre(IsReport("SPW_CDir", "removeDir", 128,
                                     "Can't delete directory '" + text("a") + "'. The directory is not found.")));
    EXPECT_EQ(reports[0].module, "SPW_CDir");
}

TEST_F(DirTest, RemovesATreeRecursively) {
    m_folder.makeFolder("a/b/c");
    m_folder.write("a/1", "x");
    m_folder.write("a/.hidden", "x");
    m_folder.write("a/b/c/2", "x");
    EXPECT_EQ(SPW_CDir::removeDir(path("a"), true), 0u);
    EXPECT_FALSE(m_folder.exists("a"));
    EXPECT_THAT(m_reporter.reports(), IsEmpty());
}

TEST_F(DirTest, FirstFailureEndsTheWalkAndIsReturned) {
    struct Refusing : DirSysForwarder {
        bool deleteFile(const SPW_CString& path) override {
            ++tries;
            return path.last() != u'1' && DirSysForwarder::deleteFile(path);
        }
        int tries = 0;
    } refusing;
    m_folder.makeFolder("a");
    m_folder.write("a/1", "");
    m_folder.write("a/2", "");
    m_errors.scripted = 5;
    EXPECT_EQ(SPW_CDir::removeDir(path("a"), true), 137u);
    EXPECT_EQ(refusing.tries, 1);
    EXPECT_TRUE(m_folder.exists("a/2"));
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "removeFile", 137, systemFailure("remove file", text("a/1"), 5))));
}

// --- removeFile ---

TEST_F(DirTest, RemovesAFileAndReportsAMissingOne) {
    m_folder.write("f", "");
    EXPECT_EQ(SPW_CDir::removeFile(path("f")), 0u);
    EXPECT_FALSE(m_folder.exists("f"));
    EXPECT_EQ(SPW_CDir::removeFile(path("f")), 123u);
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "removeFile", 123,
                                     "Can't delete file '" + text("f") + "'. The file is not found.")));
}

// --- wipeFile ---

class WipeTest : public DirTest {
protected:
    // Counts what is written before the file goes, and refuses what it is told to.
    struct Disk : DirSysForwarder {
        bool setAttributes(const SPW_CString& path, std::uint32_t attributes) override {
            return !refuseAttributes && DirSysForwarder::setAttributes(path, attributes);
        }
        SPW_Handle openForWriting(const SPW_CString& path) override {
            return refuseOpen ? nullptr : DirSysForwarder::openForWriting(path);
        }
        bool getSize(SPW_Handle file, std::uint64_t& bytes) override {
            return !refuseSize && DirSysForwarder::getSize(file, bytes);
        }
        bool write(SPW_Handle file, const void* bytes, std::uint32_t size) override {
            const char* begin = static_cast<const char*>(bytes);
            written.append(begin, begin + size);
            return ++writes != refuseWrite && DirSysForwarder::write(file, bytes, size);
        }
        bool flush(SPW_Handle file) override {
            steps += "flush after " + std::to_string(written.size()) + " bytes, ";
            return !refuseFlush && DirSysForwarder::flush(file);
        }
        bool close(SPW_Handle file) override { return DirSysForwarder::close(file) && !refuseClose; }
        bool deleteFile(const SPW_CString& path) override {
            steps += "delete";
            return !refuseDelete && DirSysForwarder::deleteFile(path);
        }
        std::string written;
        std::string steps;
        bool refuseFlush = false;
        int writes = 0;
        int refuseWrite = 0;  // which write, 1 for the first
        bool refuseAttributes = false;
        bool refuseOpen = false;
        bool refuseSize = false;
        bool refuseClose = false;
        bool refuseDelete = false;
    };
    Disk m_disk;
};

TEST_F(WipeTest, WritesZerosToTheNextMultipleOf500BeyondTheLength) {
    for (const auto& [size, zeros] : {std::pair(0, 500), {1, 500}, {499, 500}, {500, 1000}, {1000, 1500}}) {
        m_folder.write("f", std::string(static_cast<std::size_t>(size), 'x'));
        m_disk.written.clear();
        EXPECT_EQ(SPW_CDir::wipeFile(path("f")), 0u);
        EXPECT_EQ(m_disk.written, std::string(static_cast<std::size_t>(zeros), '\0'));
        EXPECT_FALSE(m_folder.exists("f"));
    }
    EXPECT_THAT(m_reporter.reports(), IsEmpty());
}

TEST_F(WipeTest, OverwritesFromTheStartOfTheFile) {
    m_folder.write("f", std::string(600, 'x'));
    m_disk.refuseDelete = true;
    EXPECT_EQ(SPW_CDir::wipeFile(path("f")), 137u);
    EXPECT_EQ(m_folder.read("f"), std::string(1000, '\0'));
    EXPECT_THAT(m_reporter.takeReports(), ElementsAre(testing::Field(&RecordedReport::method, "removeFile"),
                                                      IsReport("SPW_CDir", "wipeFile", 137, "removeFile failed")));
}

TEST_F(WipeTest, ZerosAreOnTheMediumBeforeTheFileGoes) {
    m_folder.write("f", std::string(600, 'x'));
    EXPECT_EQ(SPW_CDir::wipeFile(path("f")), 0u);
    EXPECT_EQ(m_disk.steps, "flush after 1000 bytes, delete");
}

TEST_F(WipeTest, ZerosThatTheMediumDoesNotTakeAreReportedAndTheFileStays) {
    m_folder.write("f", "x");
    m_disk.refuseFlush = true;
    EXPECT_EQ(SPW_CDir::wipeFile(path("f")), 132u);
    EXPECT_TRUE(m_folder.exists("f"));
    EXPECT_THAT(m_reporter.takeReports(), ElementsAre(IsReport("SPW_CDir", "wipeFile", 132, "write file failed ")));
}

TEST_F(WipeTest, ReadOnlyFileIsWiped) {
    m_folder.write("f", "x");
    std::filesystem::permissions(m_folder.native() / "f", std::filesystem::perms(0444));
    EXPECT_EQ(SPW_CDir::wipeFile(path("f")), 0u);
    EXPECT_FALSE(m_folder.exists("f"));
}

TEST_F(WipeTest, MissingFileAndDirectoryAreNotFound) {
    m_folder.makeFolder("d");
    EXPECT_EQ(SPW_CDir::wipeFile(path("f")), 123u);
    EXPECT_EQ(SPW_CDir::wipeFile(path("d")), 123u);
    EXPECT_THAT(
        m_reporter.takeReports(),
        ElementsAre(
            IsReport("SPW_CDir", "wipeFile", 123, "Can't delete file '" + text("f") + "'. The file is not found."),
            IsReport("SPW_CDir", "wipeFile", 123, "Can't delete file '" + text("d") + "'. The file is not found.")));
}

TEST_F(WipeTest, RefusedAttributesEndIt) {
    m_folder.write("f", "x");
    m_disk.refuseAttributes = true;
    EXPECT_EQ(SPW_CDir::wipeFile(path("f")), 142u);
    EXPECT_EQ(m_folder.read("f"), "x");
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "wipeFile", 142, "Can't set attributes of file '" + text("f") + "'")));
}

TEST_F(WipeTest, FileThatCannotBeOpenedStays) {
    m_folder.write("f", "x");
    m_disk.refuseOpen = true;
    m_errors.scripted = 32;
    EXPECT_EQ(SPW_CDir::wipeFile(path("f")), 130u);
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "wipeFile", 130, systemFailure("open file", text("f"), 32))));
}

TEST_F(WipeTest, UnknownLengthEndsIt) {
    m_folder.write("f", "x");
    m_disk.refuseSize = true;
    EXPECT_EQ(SPW_CDir::wipeFile(path("f")), 131u);
    EXPECT_EQ(m_folder.read("f"), "x");
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "wipeFile", 131, "Failed to get file length")));
}

TEST_F(WipeTest, FailedWriteIsReportedTheRestIsWrittenAndTheFileStays) {
    m_folder.write("f", std::string(1200, 'x'));
    m_disk.refuseWrite = 2;
    EXPECT_EQ(SPW_CDir::wipeFile(path("f")), 132u);
    EXPECT_EQ(m_disk.writes, 3);
    EXPECT_TRUE(m_folder.exists("f"));
    EXPECT_THAT(m_reporter.takeReports(), ElementsAre(IsReport("SPW_CDir", "wipeFile", 132, "write file failed ")));
}

TEST_F(WipeTest, FailedCloseIsReportedAndTheFileStays) {
    m_folder.write("f", "x");
    m_disk.refuseClose = true;
    EXPECT_EQ(SPW_CDir::wipeFile(path("f")), 133u);
    EXPECT_TRUE(m_folder.exists("f"));
    EXPECT_THAT(m_reporter.takeReports(), ElementsAre(IsReport("SPW_CDir", "wipeFile", 133, "close file failed ")));
}

// --- wipeDir ---

TEST_F(WipeTest, WipesTheFilesAndLeavesTheDirectory) {
    m_folder.makeFolder("a");
    m_folder.write("a/1", "x");
    m_folder.write("a/2", "x");
    EXPECT_EQ(SPW_CDir::wipeDir(path("a/")), 0u);
    EXPECT_TRUE(m_folder.exists("a"));
    EXPECT_FALSE(m_folder.exists("a/1"));
    EXPECT_FALSE(m_folder.exists("a/2"));
    EXPECT_EQ(SPW_CDir::wipeDir(path("missing")), 0u);
    EXPECT_THAT(m_reporter.reports(), IsEmpty());
}

TEST_F(WipeTest, SubdirectoryFailsWith123AndTheWalkGoesOn) {
    m_folder.makeFolder("a/1sub");
    m_folder.write("a/2", "x");
    EXPECT_EQ(SPW_CDir::wipeDir(path("a")), 0u);  // the status of the last entry
    EXPECT_TRUE(m_folder.exists("a/1sub"));
    EXPECT_FALSE(m_folder.exists("a/2"));
    EXPECT_THAT(m_reporter.takeReports(), ElementsAre(testing::Field(&RecordedReport::method, "wipeFile"),
                                                      IsReport("SPW_CDir", "wipeDir", 123, "Failed to wipe 1sub")));
    EXPECT_EQ(SPW_CDir::wipeDir(path("a")), 123u);
}

TEST_F(WipeTest, FailureOfTheVeryFirstEntryEndsTheWalk) {
    struct NoDots : Disk {
        SPW_Handle findFirst(const SPW_CString& pattern, Found& found) override {
            const SPW_Handle search = Disk::findFirst(pattern, found);
            return Disk::findNext(search, found) && Disk::findNext(search, found) ? search : nullptr;
        }
    } disk;
    m_folder.makeFolder("a/1sub");
    m_folder.write("a/2", "x");
    EXPECT_EQ(SPW_CDir::wipeDir(path("a")), 123u);
    EXPECT_TRUE(m_folder.exists("a/2"));
    EXPECT_THAT(m_reporter.takeReports(), SizeIs(2));
}

TEST_F(WipeTest, SearchThatBreaksOffIsReportedWithAStarForThePath) {
    struct Broken : Disk {
        bool findNext(SPW_Handle, Found&) override { return false; }
    } disk;
    m_folder.makeFolder("a");
    m_errors.scripted = 31;
    EXPECT_EQ(SPW_CDir::wipeDir(path("a")), 123u);
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "wipeDir", 123, systemFailure("find next file", "*", 31))));
}

// --- rename ---

TEST_F(DirTest, RenamesFilesAndDirectories) {
    m_folder.write("f", "x");
    m_folder.makeFolder("d");
    EXPECT_EQ(SPW_CDir::rename(path("f"), path("g")), 0u);
    EXPECT_EQ(SPW_CDir::rename(path("d"), path("e")), 0u);
    EXPECT_EQ(m_folder.read("g"), "x");
    EXPECT_TRUE(m_folder.exists("e"));
}

TEST_F(DirTest, RenamingOntoAnExistingNameLeavesBothInPlace) {
    m_folder.write("f", "1");
    m_folder.write("g", "2");
    EXPECT_EQ(SPW_CDir::rename(path("f"), path("g")), 121u);
    EXPECT_EQ(m_folder.read("f"), "1");
    EXPECT_EQ(m_folder.read("g"), "2");
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "rename", 121,
                                     "Can't rename file or directory '" + text("f") + "' to '" + text("g") +
                                         "'. A file or directory with that name already exists.")));
}

TEST_F(DirTest, RenamingWhatIsMissingIsReported) {
    EXPECT_EQ(SPW_CDir::rename(path("f"), path("g")), 120u);
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "rename", 120,
                                     "Can't rename file '" + text("f") + "' to '" + text("g") +
                                         "'. The file or directory is not found.")));
}

TEST_F(DirTest, RefusedRenameHasTheSystemsMessage) {
    m_folder.write("f", "x");
    // The directory on the way is missing (3), not the file (2).
    EXPECT_EQ(SPW_CDir::rename(path("f"), path("missing/g")), 138u);
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "rename", 138, systemFailure("rename file", text("f"), 3))));
}

// --- moveFile ---

class MoveTest : public DirTest {
protected:
    // Another file system on the other side: nothing can be moved, only copied.
    struct OtherDisk : DirSysForwarder {
        bool move(const SPW_CString&, const SPW_CString&) override { return false; }
        bool copy(const SPW_CString& from, const SPW_CString& to, bool failIfExists) override {
            copyFailedIfExists = failIfExists;
            return !refuseCopy && DirSysForwarder::copy(from, to, failIfExists);
        }
        bool deleteFile(const SPW_CString& path) override {
            return path.last() != refuseDelete && DirSysForwarder::deleteFile(path);
        }
        bool write(SPW_Handle file, const void* bytes, std::uint32_t size) override {
            wiped = true;
            return DirSysForwarder::write(file, bytes, size);
        }
        bool copyFailedIfExists = false;
        bool refuseCopy = false;
        char16_t refuseDelete = u'-';
        bool wiped = false;
    };
};

TEST_F(MoveTest, MovesAFile) {
    m_folder.write("f", "x");
    EXPECT_EQ(SPW_CDir::moveFile(path("f"), path("g"), false, false), 0u);
    EXPECT_EQ(m_folder.read("g"), "x");
    EXPECT_FALSE(m_folder.exists("f"));
}

TEST_F(MoveTest, MissingSourceAndDirectoryAreNotReported) {
    m_folder.makeFolder("d");
    EXPECT_EQ(SPW_CDir::moveFile(path("f"), path("g"), true, false), 123u);
    EXPECT_EQ(SPW_CDir::moveFile(path("d"), path("g"), true, false), 123u);
    EXPECT_THAT(m_reporter.reports(), IsEmpty());
}

TEST_F(MoveTest, ExistingTargetStaysUnlessOverwritingIsAllowed) {
    m_folder.write("f", "1");
    m_folder.write("g", "2");
    EXPECT_EQ(SPW_CDir::moveFile(path("f"), path("g"), false, false), 121u);
    EXPECT_EQ(m_folder.read("g"), "2");
    EXPECT_THAT(m_reporter.takeReports(), ElementsAre(IsReport("SPW_CDir", "moveFile", 121, "")));
    EXPECT_EQ(SPW_CDir::moveFile(path("f"), path("g"), true, false), 0u);
    EXPECT_EQ(m_folder.read("g"), "1");
    EXPECT_FALSE(m_folder.exists("f"));
}

TEST_F(MoveTest, FileThatIsMovedOntoItselfStays) {
    m_folder.makeFolder("d");
    m_folder.write("f", "x");
    EXPECT_EQ(SPW_CDir::moveFile(path("f"), path("f"), true, false), 0u);
    EXPECT_EQ(SPW_CDir::moveFile(path("f"), path("d/../f"), true, true), 0u);
    EXPECT_EQ(m_folder.read("f"), "x");
    m_folder.write("d/f", "y");
    EXPECT_EQ(SPW_CDir::moveFile(path("f"), path("d/f"), true, false), 0u);
    EXPECT_EQ(m_folder.read("d/f"), "x");
    EXPECT_FALSE(m_folder.exists("f"));
}

TEST_F(MoveTest, TargetThatCannotBeRemovedEndsIt) {
    OtherDisk disk;
    disk.refuseDelete = u'g';
    m_folder.write("f", "1");
    m_folder.write("g", "2");
    EXPECT_EQ(SPW_CDir::moveFile(path("f"), path("g"), true, false), 137u);
    EXPECT_EQ(m_folder.read("f"), "1");
}

TEST_F(MoveTest, BetweenDisksTheFileIsCopiedAndRemoved) {
    OtherDisk disk;
    m_folder.write("f", "x");
    EXPECT_EQ(SPW_CDir::moveFile(path("f"), path("g"), false, false), 0u);
    EXPECT_FALSE(disk.copyFailedIfExists);
    EXPECT_FALSE(disk.wiped);
    EXPECT_EQ(m_folder.read("g"), "x");
    EXPECT_FALSE(m_folder.exists("f"));
    EXPECT_EQ(SPW_CDir::moveFile(path("g"), path("f"), true, true), 0u);
    EXPECT_TRUE(disk.copyFailedIfExists);
    EXPECT_TRUE(disk.wiped);
    EXPECT_EQ(m_folder.read("f"), "x");
    EXPECT_FALSE(m_folder.exists("g"));
}

TEST_F(MoveTest, FailedCopyHasTheSystemsMessage) {
    OtherDisk disk;
    disk.refuseCopy = true;
    m_errors.scripted = 112;
    m_folder.write("f", "x");
    EXPECT_EQ(SPW_CDir::moveFile(path("f"), path("g"), false, false), 138u);
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "moveFile", 138, systemFailure("rename file", text("f"), 112))));
}

TEST_F(MoveTest, CopyIsRemovedAgainWhenTheSourceCannotBe) {
    OtherDisk disk;
    disk.refuseDelete = u'f';
    m_folder.write("f", "x");
    EXPECT_EQ(SPW_CDir::moveFile(path("f"), path("g"), false, false), 137u);
    EXPECT_TRUE(m_folder.exists("f"));
    EXPECT_FALSE(m_folder.exists("g"));
}

// --- What the platform's own move and copy promise ---

TEST_F(DirTest, PlatformsMoveNeverReplacesAndMovesDirectoriesAsWell) {
    SPW_CDirSys& sys = *SPW_CDirSys::instance;
    m_folder.write("f", "1");
    m_folder.write("g", "2");
    m_folder.makeFolder("d/e");
    EXPECT_FALSE(sys.move(path("f"), path("g")));
    EXPECT_EQ(m_folder.read("f"), "1");
    EXPECT_EQ(m_folder.read("g"), "2");
    EXPECT_FALSE(sys.move(path("f"), path("d")));
    EXPECT_FALSE(sys.move(path("missing"), path("h")));
    EXPECT_TRUE(sys.move(path("f"), path("h")));
    EXPECT_EQ(m_folder.read("h"), "1");
    EXPECT_FALSE(m_folder.exists("f"));
    EXPECT_TRUE(sys.move(path("d"), path("moved")));
    EXPECT_TRUE(m_folder.exists("moved/e"));
}

TEST_F(DirTest, PlatformsCopyKeepsBytesAndTimeAndReplacesOnlyWhenItMay) {
    SPW_CDirSys& sys = *SPW_CDirSys::instance;
    const std::string bytes(40000, 'x');
    m_folder.write("f", bytes);
    m_folder.write("g", std::string(50000, 'y'));
    const auto longAgo = std::filesystem::file_time_type::clock::now() - std::chrono::hours(100);
    std::filesystem::last_write_time(m_folder.native() / "f", longAgo);
    EXPECT_FALSE(sys.copy(path("f"), path("g"), true));
    EXPECT_EQ(m_folder.read("g"), std::string(50000, 'y'));
    EXPECT_TRUE(sys.copy(path("f"), path("g"), false));
    EXPECT_EQ(m_folder.read("g"), bytes);
    EXPECT_TRUE(sys.copy(path("f"), path("h"), true));
    EXPECT_EQ(m_folder.read("h"), bytes);
    EXPECT_EQ(m_folder.read("f"), bytes);
    for (const char* name : {"g", "h"}) {
        const auto difference = std::filesystem::last_write_time(m_folder.native() / name) - longAgo;
        EXPECT_LT(std::chrono::abs(difference), std::chrono::seconds(3)) << name;
    }
    EXPECT_FALSE(sys.copy(path("missing"), path("i"), true));
    EXPECT_FALSE(m_folder.exists("i"));
}

TEST_F(DirTest, PlatformsCopyOfADirectoryOrOntoItselfFailsAndHarmsNothing) {
    SPW_CDirSys& sys = *SPW_CDirSys::instance;
    m_folder.makeFolder("d");
    m_folder.write("f", "x");
    EXPECT_FALSE(sys.copy(path("d"), path("e"), false));
    EXPECT_FALSE(m_folder.exists("e"));
    EXPECT_FALSE(sys.copy(path("f"), path("f"), false));
    EXPECT_EQ(m_folder.read("f"), "x");
    EXPECT_FALSE(sys.copy(path("f"), path("d"), false));
    EXPECT_TRUE(m_folder.exists("d"));
}

// --- Searches ---

TEST_F(DirTest, StarFindsEverythingDotsAndHiddenNamesIncluded) {
    m_folder.write("b", "");
    m_folder.write(".a", "");
    m_folder.makeFolder("c.d");
    EXPECT_THAT(found("*"), ElementsAre(".", "..", ".a", "b", "c.d"));
    EXPECT_THAT(found("*.*"), ElementsAre(".", "..", ".a", "b", "c.d"));
    EXPECT_THAT(found("?"), ElementsAre(".", "b"));
    EXPECT_THAT(found("*.d"), ElementsAre("c.d"));
    EXPECT_THAT(found("b"), ElementsAre("b"));
    EXPECT_THAT(found("x*"), IsEmpty());
    EXPECT_THAT(found("missing/*"), IsEmpty());
    EXPECT_THAT(m_reporter.reports(), IsEmpty());
}

TEST_F(DirTest, EntriesTellKindSizeAndAttributes) {
    m_folder.write("f", "12345");
    m_folder.write(".ro", "");
    m_folder.makeFolder("d");
    std::filesystem::permissions(m_folder.native() / ".ro", std::filesystem::perms(0444));
    SPW_CDir dir;
    SPW_CDirEntry entry;
    bool isFound = false;
    EXPECT_EQ(dir.findFirst(path("f"), entry, isFound), 0u);
    EXPECT_TRUE(isFound && entry.isFile && !entry.isDirectory && !entry.readOnly && !entry.hidden);
    EXPECT_EQ(entry.size, 5u);
    EXPECT_EQ(dir.findClose(), 0u);
    EXPECT_EQ(dir.findFirst(path(".ro"), entry, isFound), 0u);
    EXPECT_TRUE(isFound && entry.isFile && entry.readOnly && entry.hidden);
    EXPECT_EQ(dir.findClose(), 0u);
    EXPECT_EQ(dir.findFirst(path("d"), entry, isFound), 0u);
    EXPECT_TRUE(isFound && !entry.isFile && entry.isDirectory && !entry.archive && !entry.system);
    EXPECT_EQ(dir.findClose(), 0u);
}

TEST_F(DirTest, AttributeBitsAndSizeWordsAreTakenApartAsStated) {
    struct Scripted : DirSysForwarder {
        SPW_Handle findFirst(const SPW_CString&, Found& found) override {
            found.name = u"n";
            found.attributes = kArchive | kSystem;
            found.sizeHigh = 2;
            found.sizeLow = 10;
            found.creationTime = ScriptedClock::kStart;
            found.lastAccessTime = ScriptedClock::kStart + 600000000;
            found.lastWriteTime = ScriptedClock::kStart;
            return this;
        }
        void findClose(SPW_Handle) override {}
    } scripted;
    ScriptedClock clock;
    clock.setZoneMinutes(120);
    SPW_CDir dir;
    SPW_CDirEntry entry;
    bool isFound = false;
    EXPECT_EQ(dir.findFirst(u"*", entry, isFound), 0u);
    EXPECT_TRUE(isFound && entry.archive && entry.system && !entry.readOnly && !entry.hidden && entry.isFile);
    EXPECT_EQ(entry.size, 8u);
    EXPECT_EQ(entry.creationTime.hour, 14);
    EXPECT_EQ(entry.lastAccessTime.hour, 14);
    EXPECT_EQ(entry.lastAccessTime.minute, 8);
    EXPECT_EQ(entry.lastWriteTime.hour, 16);  // this one alone is local
    EXPECT_EQ(dir.findClose(), 0u);
}

TEST_F(DirTest, SecondSearchClosesTheFirstAndReportsOnce) {
    m_folder.write("f", "");
    SPW_CDir dir;
    SPW_CDirEntry entry;
    bool isFound = false;
    EXPECT_EQ(dir.findFirst(path("*"), entry, isFound), 0u);
    EXPECT_EQ(dir.findFirst(path("f"), entry, isFound), 0u);
    EXPECT_TRUE(isFound);
    EXPECT_EQ(entry.name, u"f");
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "findFirst", 125,
                                     "Starting a search for '" + text("f") +
                                         "' but a previous search wasn't closed Recovered by cleaning up")));
    EXPECT_EQ(dir.findClose(), 0u);
}

TEST_F(DirTest, SearchThatFoundNothingIsOpenAllTheSame) {
    SPW_CDir dir;
    SPW_CDirEntry entry;
    bool isFound = true;
    EXPECT_EQ(dir.findFirst(path("missing"), entry, isFound), 0u);
    EXPECT_FALSE(isFound);
    EXPECT_EQ(dir.findNext(entry, isFound), 0u);
    EXPECT_FALSE(isFound);
    EXPECT_EQ(dir.findClose(), 0u);
    EXPECT_THAT(m_reporter.reports(), IsEmpty());
}

TEST_F(DirTest, ContinuingAndClosingWithoutASearchAreReported) {
    SPW_CDir dir;
    SPW_CDirEntry entry;
    bool isFound = true;
    EXPECT_EQ(dir.findNext(entry, isFound), 125u);
    EXPECT_FALSE(isFound);
    EXPECT_EQ(dir.findClose(), 125u);
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "findFirst", 125, "Continuing a file search which wasn't opened"),
                            IsReport("SPW_CDir", "findClose", 125, "Closing a file search which wasn't open.")));
}

TEST_F(DirTest, DestroyingAnOpenSearchIsReported) {
    {
        SPW_CDir dir;
        SPW_CDirEntry entry;
        bool isFound = false;
        EXPECT_EQ(dir.findFirst(path("*"), entry, isFound), 0u);
    }
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "~CDir", 125,
                                     "Deleting a CDir object without closing. Very bad. Recovered by cleaning up")));
}

// --- getFileInfo and setFileAttributes ---

TEST_F(DirTest, FileInfoLeavesNameAndSizeAloneAndAllTimesInUtc) {
    struct Scripted : DirSysForwarder {
        bool getInfo(SPW_Handle, Info& info) override {
            info.attributes = kReadOnly;
            info.sizeLow = 5;
            info.creationTime = info.lastAccessTime = info.lastWriteTime = ScriptedClock::kStart;
            return true;
        }
    } scripted;
    ScriptedClock clock;
    clock.setZoneMinutes(120);
    m_folder.write("f", "12345");
    SPW_CDirEntry entry;
    entry.name = u"kept";
    entry.size = 99;
    EXPECT_EQ(SPW_CDir::getFileInfo(path("f"), entry), 0u);
    EXPECT_EQ(entry.name, u"kept");
    EXPECT_EQ(entry.size, 99u);
    EXPECT_TRUE(entry.readOnly && entry.isFile);
    EXPECT_EQ(entry.creationTime.hour, 14);
    EXPECT_EQ(entry.lastAccessTime.hour, 14);
    EXPECT_EQ(entry.lastWriteTime.hour, 14);
}

TEST_F(DirTest, FileInfoOfNoFileIs123AndUnreadableInfo141) {
    struct Refusing : DirSysForwarder {
        bool getInfo(SPW_Handle, Info&) override { return false; }
    } refusing;
    m_folder.write("f", "");
    m_folder.makeFolder("d");
    SPW_CDirEntry entry;
    EXPECT_EQ(SPW_CDir::getFileInfo(path("missing"), entry), 123u);
    EXPECT_EQ(SPW_CDir::getFileInfo(path("d"), entry), 123u);
    EXPECT_EQ(SPW_CDir::getFileInfo(path("f"), entry), 141u);
    EXPECT_THAT(m_reporter.takeReports(),
                ElementsAre(IsReport("SPW_CDir", "getFileInfo", 123, ""), IsReport("SPW_CDir", "getFileInfo", 123, ""),
                            IsReport("SPW_CDir", "getFileInfo", 141, "")));
}

TEST_F(DirTest, AttributesAndTimesThatAreSetComeBack) {
    m_folder.write("f", "x");
    SPW_CDirEntry entry;
    EXPECT_EQ(SPW_CDir::getFileInfo(path("f"), entry), 0u);
    entry.readOnly = true;
    entry.lastWriteTime.year = 2003;
    entry.lastWriteTime.month = 7;
    entry.lastWriteTime.day = 3;
    entry.lastAccessTime.year = 2004;
    EXPECT_EQ(SPW_CDir::setFileAttributes(path("f"), entry), 0u);
    SPW_CDirEntry again;
    EXPECT_EQ(SPW_CDir::getFileInfo(path("f"), again), 0u);
    EXPECT_TRUE(again.readOnly);
    EXPECT_EQ(SPW_CClock::fromUtc(again.lastWriteTime), SPW_CClock::fromUtc(entry.lastWriteTime));
    EXPECT_EQ(again.lastAccessTime.year, 2004);
    entry.readOnly = false;
    EXPECT_EQ(SPW_CDir::setFileAttributes(path("f"), entry), 0u);
    EXPECT_EQ(SPW_CDir::getFileInfo(path("f"), again), 0u);
    EXPECT_FALSE(again.readOnly);
}

TEST_F(DirTest, AttributeWordIsBuiltFromTheFlags) {
    struct Recorder : DirSysForwarder {
        bool setAttributes(const SPW_CString&, std::uint32_t attributes) override {
            word = attributes;
            return false;
        }
        std::uint32_t word = 0;
    } recorder;
    SPW_CDirEntry entry;
    entry.archive = entry.hidden = entry.readOnly = entry.system = true;
    m_errors.scripted = 5;
    EXPECT_EQ(SPW_CDir::setFileAttributes(path("f"), entry), 142u);
    EXPECT_EQ(recorder.word, 0x27u);
    EXPECT_THAT(m_reporter.takeReports(), ElementsAre(IsReport("SPW_CDir", "setFileAttributes", 142,
                                                               systemFailure("set file attribute", text("f"), 5))));
}

}  // namespace
