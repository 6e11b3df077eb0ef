#include "EventFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "TemporaryFolder.h"

namespace {

constexpr std::uint32_t kPatienceMs = 60000;

class EventFileTest : public testing::Test {
protected:
    // Writes a line through a file of its own; what was said on standard error.
    std::string append(const SPW_CString& path, const std::string& line) {
        testing::internal::CaptureStderr();
        EventFile file(m_wakeup);
        m_isOpen = file.open(path, m_why);
        if (m_isOpen) {
            file.append(line);
            EXPECT_TRUE(file.waitUntilWritten(kPatienceMs));
            m_hasLost = file.hasLost();
            EXPECT_EQ(file.isBusy(), m_hasLost);
        }
        return testing::internal::GetCapturedStderr();
    }

    TemporaryFolder m_folder;
    Wakeup m_wakeup;
    SPW_CString m_why;
    bool m_isOpen = false;
    bool m_hasLost = false;
};

TEST_F(EventFileTest, LinesAreAppendedToWhatIsThere) {
    m_folder.write("events", "before\n");
    EXPECT_EQ(append(m_folder.path("events"), "one\n"), "");
    EXPECT_EQ(append(m_folder.path("events"), "two\n"), "");
    EXPECT_EQ(m_folder.read("events"), "before\none\ntwo\n");
    EXPECT_FALSE(m_hasLost);
}

TEST_F(EventFileTest, AFileThatCannotBeOpenedIsSaidInWords) {
    (void)append(m_folder.path("no/events"), "one\n");
    EXPECT_FALSE(m_isOpen);
    EXPECT_EQ(m_why, u"cannot write events to " + m_folder.path("no/events") + u": No such file or directory");
    (void)append(m_folder.path(), "one\n");
    EXPECT_FALSE(m_isOpen);
}

TEST_F(EventFileTest, APipeThatNobodyReadsHoldsUpNobody) {
    ASSERT_EQ(mkfifo(m_folder.path("pipe").toAnsi(), 0600), 0);
    (void)append(m_folder.path("pipe"), "one\n");
    EXPECT_FALSE(m_isOpen);
}

TEST_F(EventFileTest, AFullDiskIsToldOnceAndCountsAsLost) {
    EXPECT_EQ(append(u"/dev/full", "one\n"),
              "linkometry: cannot write events to /dev/full: No space left on device; no more are written\n");
    EXPECT_TRUE(m_hasLost);
}

}  // namespace
