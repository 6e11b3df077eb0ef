#include "SPW_CSystemInfo.h"

#include <gtest/gtest.h>

#include "OwnRegistry.h"
#include "StringPrinting.h"

namespace {

SPW_CSystemInfo& info() {
    return *SPW_CSystemInfo::instance;
}

SPW_CalendarTime someTime() {
    SPW_CalendarTime time;
    time.year = 2026;
    time.month = 11;
    time.day = 9;
    time.hour = 15;
    time.minute = 4;
    time.second = 59;
    return time;
}

TEST(SystemInfoW32Test, ThisIsAWindowsNt) {
    SPW_OsVersion version;
    ASSERT_TRUE(info().osVersion(version));
    EXPECT_EQ(version.platform, kOsWindowsNt);
    EXPECT_GE(version.major, 5u);
    EXPECT_GT(version.build, 0u);
}

TEST(SystemInfoW32Test, ProductTypeIsWhatTheRegistryHas) {
    const OwnRegistry registry;
    EXPECT_EQ(info().productType(), u"");
    registry.load("HKEY_LOCAL_MACHINE",
                  "[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Control\\ProductOptions]\n"
                  "\"ProductType\"=\"ServerNT\"\n");
    EXPECT_EQ(info().productType(), u"ServerNT");
}

TEST(SystemInfoW32Test, VersionOfAProgramFileIsReadFromIt) {
    std::uint32_t high = 1;
    std::uint32_t low = 2;
    EXPECT_FALSE(info().fileVersion(u"C:\\no such file.exe", high, low));
    EXPECT_EQ(high, 1u);
    EXPECT_EQ(low, 2u);
    ASSERT_TRUE(info().fileVersion(u"C:\\windows\\system32\\kernel32.dll", high, low));
    EXPECT_GE(high >> 16, 5u) << "as old as Windows XP or newer";
}

TEST(SystemInfoW32Test, DateAndTimeAreTheUsersShortForms) {
    // The user of these tests is American; run-wine sees to that.
    EXPECT_EQ(info().shortDate(someTime()), u"11/9/2026");
    EXPECT_EQ(info().shortTime(someTime()), u"3:04 PM");
}

TEST(SystemInfoW32Test, TimeThatNoCalendarShowsIsEmpty) {
    SPW_CalendarTime never = someTime();
    never.day = 31;
    EXPECT_EQ(info().shortDate(never), u"");
    EXPECT_EQ(info().shortTime(never), u"");
}

}  // namespace
