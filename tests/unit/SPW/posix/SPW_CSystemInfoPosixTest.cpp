#include "SPW_CSystemInfo.h"

#include <gtest/gtest.h>
#include <sys/utsname.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "StringPrinting.h"
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

TEST_F(SystemInfoPosixTest, SystemIsTheKernelThatRuns) {
    utsname kernel;
    ASSERT_EQ(uname(&kernel), 0);
    SPW_OsVersion version;
    ASSERT_TRUE(SPW_CSystemInfo::instance->osVersion(version));
    EXPECT_EQ(version.platform, static_cast<std::uint32_t>(kOsLinux));
    const std::string series = std::to_string(version.major) + "." + std::to_string(version.minor);
    EXPECT_EQ(std::string(kernel.release).substr(0, series.size()), series);
    EXPECT_EQ(SPW_CSystemInfo::instance->productType(), u"");
}

// A locale variable of the environment, put back in the end.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value) : m_name(name) {
        const char* const before = std::getenv(name);
        m_wasSet = before != nullptr;
        m_before = m_wasSet ? before : "";
        if (value != nullptr) {
            setenv(name, value, 1);
        } else {
            unsetenv(name);
        }
    }
    ~ScopedVariable() {
        if (m_wasSet) {
            setenv(m_name, m_before.c_str(), 1);
        } else {
            unsetenv(m_name);
        }
    }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* const m_name;
    bool m_wasSet;
    std::string m_before;
};

class LocalTimePosixTest : public testing::Test {
protected:
    static SPW_CalendarTime afternoon() {
        SPW_CalendarTime time;
        time.year = 2003;
        time.month = 7;
        time.day = 4;
        time.hour = 14;
        time.minute = 7;
        time.second = 59;
        return time;
    }
    static SPW_CString dateOf(const SPW_CalendarTime& time) { return SPW_CSystemInfo::instance->shortDate(time); }
    static SPW_CString timeOf(const SPW_CalendarTime& time) { return SPW_CSystemInfo::instance->shortTime(time); }

    ScopedVariable m_all{"LC_ALL", nullptr};
    ScopedVariable m_time{"LC_TIME", nullptr};
    ScopedVariable m_language{"LANG", nullptr};
};

TEST_F(LocalTimePosixTest, WithoutALocaleDatesAreMonthDayYearAndTimesOf24Hours) {
    EXPECT_EQ(dateOf(afternoon()), u"07/04/03");
    EXPECT_EQ(timeOf(afternoon()), u"14:07");
}

TEST_F(LocalTimePosixTest, PlainLocalesWriteTheSame) {
    for (const char* locale : {"C", "POSIX", "C.UTF-8"}) {
        const ScopedVariable all("LC_ALL", locale);
        EXPECT_EQ(dateOf(afternoon()), u"07/04/03") << locale;
        EXPECT_EQ(timeOf(afternoon()), u"14:07") << locale;
    }
}

TEST_F(LocalTimePosixTest, LocaleThatIsNotInstalledIsThePlainOne) {
    for (const char* locale : {"xx_XX.UTF-8", "no such locale", "../../../etc", "/", "\xff\xfe"}) {
        const ScopedVariable all("LC_ALL", locale);
        EXPECT_EQ(dateOf(afternoon()), u"07/04/03") << locale;
        EXPECT_EQ(timeOf(afternoon()), u"14:07") << locale;
    }
}

TEST_F(LocalTimePosixTest, EmptyVariablesDoNotCount) {
    const ScopedVariable all("LC_ALL", "");
    const ScopedVariable time("LC_TIME", "");
    const ScopedVariable language("LANG", "C.UTF-8");
    EXPECT_EQ(timeOf(afternoon()), u"14:07");
}

TEST_F(LocalTimePosixTest, TimeThatNoCalendarShowsIsEmpty) {
    SPW_CalendarTime time = afternoon();
    time.month = 6;
    time.day = 31;
    EXPECT_EQ(dateOf(time), u"");
    EXPECT_EQ(timeOf(time), u"");
    time = afternoon();
    time.hour = 24;
    EXPECT_EQ(dateOf(time), u"");
    EXPECT_EQ(timeOf(time), u"");
}

TEST_F(LocalTimePosixTest, FirstAndLastYearsOfTheCalendarAreShown) {
    SPW_CalendarTime time = afternoon();
    time.year = 1601;
    EXPECT_EQ(dateOf(time), u"07/04/01");
    time.year = 30827;
    EXPECT_EQ(dateOf(time), u"07/04/27");
}

TEST_F(LocalTimePosixTest, ThreadsMayAskAtOnce) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 50; ++round) {
                wrong += dateOf(afternoon()) != u"07/04/03" || timeOf(afternoon()) != u"14:07";
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

}  // namespace
