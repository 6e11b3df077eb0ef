#include "SPW_CSmallFilePosix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "TemporaryFolder.h"

namespace {

class SmallFilePosixTest : public testing::Test {
protected:
    bool read(const char* name, std::size_t limit = 100) {
        m_text = "old";
        return SPW_CSmallFilePosix::read((m_folder.native() / name).c_str(), limit, m_text);
    }
    bool readEnd(const char* name, std::size_t limit = 100) {
        m_text = "old";
        m_written = -1;
        return SPW_CSmallFilePosix::readEnd((m_folder.native() / name).c_str(), limit, m_text, m_written);
    }

    TemporaryFolder m_folder;
    std::string m_text;
    std::int64_t m_written = -1;
};

TEST_F(SmallFilePosixTest, WholeFileIsRead) {
    m_folder.write("file", std::string_view("a\0b\n", 4));
    EXPECT_TRUE(read("file"));
    EXPECT_EQ(m_text, std::string("a\0b\n", 4));
    EXPECT_TRUE(read("file", 4));
    EXPECT_EQ(m_text.size(), 4u);
}

TEST_F(SmallFilePosixTest, EmptyFileIsAFile) {
    m_folder.write("file", "");
    EXPECT_TRUE(read("file"));
    EXPECT_EQ(m_text, "");
}

TEST_F(SmallFilePosixTest, WhatIsBeyondTheLimitIsLeft) {
    m_folder.write("file", std::string(1000, 'x'));
    EXPECT_TRUE(read("file", 10));
    EXPECT_EQ(m_text, std::string(10, 'x'));
}

TEST_F(SmallFilePosixTest, FilesWhoseSizeIsNotKnownBeforeAreReadToTheEnd) {
    std::string text;
    ASSERT_TRUE(SPW_CSmallFilePosix::read("/proc/self/stat", 65536, text));
    EXPECT_EQ(text.back(), '\n');
}

TEST_F(SmallFilePosixTest, MissingFileIsNone) {
    EXPECT_FALSE(read("missing"));
    EXPECT_EQ(m_text, "");
}

TEST_F(SmallFilePosixTest, FoldersPipesAndDevicesAreNoFilesAndNobodyWaits) {
    m_folder.makeFolder("folder");
    EXPECT_FALSE(read("folder"));
    ASSERT_EQ(mkfifo((m_folder.native() / "pipe").c_str(), 0600), 0);
    EXPECT_FALSE(read("pipe"));
    EXPECT_FALSE(SPW_CSmallFilePosix::read("/dev/zero", 100, m_text));
    EXPECT_EQ(m_text, "");
}

TEST_F(SmallFilePosixTest, TheEndIsWhatStandsLast) {
    m_folder.write("file", std::string(1000, 'x') + "last");
    EXPECT_TRUE(readEnd("file", 5));
    EXPECT_EQ(m_text, "xlast");
    EXPECT_TRUE(readEnd("file", 1004));
    EXPECT_EQ(m_text.size(), 1004u);
    EXPECT_TRUE(readEnd("file", 5000));
    EXPECT_EQ(m_text.size(), 1004u);
}

TEST_F(SmallFilePosixTest, TheEndTellsWhenTheFileWasWritten) {
    m_folder.write("file", "");
    const timespec times[2] = {{5, 0}, {1700000000, 999999999}};
    ASSERT_EQ(::utimensat(AT_FDCWD, (m_folder.native() / "file").c_str(), times, 0), 0);
    EXPECT_TRUE(readEnd("file"));
    EXPECT_EQ(m_text, "");
    EXPECT_EQ(m_written, 1700000000);
}

TEST_F(SmallFilePosixTest, WhatIsNoFileHasNoEnd) {
    m_folder.makeFolder("folder");
    ASSERT_EQ(mkfifo((m_folder.native() / "pipe").c_str(), 0600), 0);
    for (const char* const name : {"missing", "folder", "pipe"}) {
        EXPECT_FALSE(readEnd(name)) << name;
        EXPECT_EQ(m_text, "") << name;
        EXPECT_EQ(m_written, -1) << name;
    }
}

}  // namespace
