// What Linux has that is neither a file nor a directory.

#include "SPW_CDir.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>

#include "RecordingReporter.h"
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

}  // namespace
