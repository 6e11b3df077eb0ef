// What Linux has that is neither a file nor a directory, and links.

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

}  // namespace
