#include "SPW_CSmallFilePosix.h"

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

    TemporaryFolder m_folder;
    std::string m_text;
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

}  // namespace
