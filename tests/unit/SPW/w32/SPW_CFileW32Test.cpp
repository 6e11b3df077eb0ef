#include "SPW_CFile.h"

#include <gmock/gmock.h>

#include "RecordingReporter.h"
#include "TemporaryFolder.h"

namespace {

class FileW32Test : public testing::Test {
protected:
    static constexpr SPW_Result kSharingViolation = 32;

    TemporaryFolder folder;
    RecordingReporter reporter;
    SPW_CFile file;
    SPW_CFile other;
};

TEST_F(FileW32Test, WhileItIsOpenForReadingNobodyMayWriteIt) {
    folder.write("a.txt", "kept");
    ASSERT_EQ(file.openReadOnly(folder.path("a.txt")), 0u);
    EXPECT_EQ(other.openReadWrite(folder.path("a.txt"), true), kSharingViolation);
    EXPECT_EQ(other.openReadWrite(folder.path("a.txt"), false), kSharingViolation);
    EXPECT_EQ(other.openCreateNew(folder.path("a.txt")), kSharingViolation);
    EXPECT_EQ(other.openCreateShared(folder.path("a.txt")), kSharingViolation);
    EXPECT_EQ(folder.read("a.txt"), "kept");
    ASSERT_EQ(file.close(), 0u);
    EXPECT_EQ(other.openReadWrite(folder.path("a.txt"), true), 0u);
}

TEST_F(FileW32Test, WhatSomebodyWritesIsNotOpenedForReading) {
    ASSERT_EQ(file.openCreateNew(folder.path("a.txt")), 0u);
    EXPECT_EQ(other.openReadOnly(folder.path("a.txt")), kSharingViolation);
    ASSERT_EQ(file.close(), 0u);
    EXPECT_EQ(other.openReadOnly(folder.path("a.txt")), 0u);
}

}  // namespace
