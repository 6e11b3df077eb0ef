#include "SPW_CSystemInfo.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "TemporaryFolder.h"

namespace {

class SystemInfoPosixTest : public testing::Test {
protected:
    bool ask(const SPW_CString& path) { return SPW_CSystemInfo::instance->fileVersion(path, m_high, m_low); }
    void expectUntouched() const {
        EXPECT_EQ(m_high, 77u);
        EXPECT_EQ(m_low, 78u);
    }
    static std::filesystem::path ownFile() { return std::filesystem::read_symlink("/proc/self/exe"); }

    TemporaryFolder m_folder;
    std::uint32_t m_high = 77;
    std::uint32_t m_low = 78;
};

TEST_F(SystemInfoPosixTest, RunningProgramHasTheVersionOfTheProject) {
    ASSERT_TRUE(ask(ownFile().u16string().c_str()));
    EXPECT_EQ(m_high, static_cast<std::uint32_t>(TEST_VERSION_MAJOR << 16 | TEST_VERSION_MINOR));
    EXPECT_EQ(m_low, static_cast<std::uint32_t>(TEST_VERSION_PATCH << 16 | TEST_VERSION_TWEAK));
}

TEST_F(SystemInfoPosixTest, LinkToTheRunningProgramIsTheProgram) {
    std::filesystem::create_symlink(ownFile(), m_folder.native() / "link");
    EXPECT_TRUE(ask(m_folder.path("link")));
    EXPECT_NE(m_high, 77u);
}

TEST_F(SystemInfoPosixTest, OtherFilesHaveNoVersion) {
    m_folder.write("other.exe", "MZ");
    EXPECT_FALSE(ask(m_folder.path("other.exe")));
    expectUntouched();
}

TEST_F(SystemInfoPosixTest, MissingFileHasNoVersion) {
    EXPECT_FALSE(ask(m_folder.path("missing.exe")));
    EXPECT_FALSE(ask(u""));
    expectUntouched();
}

}  // namespace
