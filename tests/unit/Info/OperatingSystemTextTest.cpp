#include "OperatingSystemText.h"

#include <gtest/gtest.h>

#include "ScopedInstance.h"
#include "ScriptedSystemInfo.h"
#include "StringPrinting.h"

namespace {

class OperatingSystemTextTest : public testing::Test {
protected:
    SPW_CString textOf(std::uint32_t platform, std::uint32_t major, std::uint32_t minor, std::uint32_t build = 0,
                       const char16_t* servicePack = u"") {
        m_system.os.platform = platform;
        m_system.os.major = major;
        m_system.os.minor = minor;
        m_system.os.build = build;
        m_system.os.servicePack = servicePack;
        return operatingSystemText();
    }

    ScriptedSystemInfo m_system;
    const ScopedInstance<SPW_CSystemInfo> m_installed{m_system};
};

TEST_F(OperatingSystemTextTest, Win32sIsANameAndNothingMore) {
    EXPECT_EQ(textOf(kOsWin32s, 1, 25, 142, u"x"), SPW_CString(u"Microsoft Win32s "));
}

TEST_F(OperatingSystemTextTest, Windows95IsEverythingUpToFourPointZero) {
    EXPECT_EQ(textOf(kOsWindows9x, 4, 0, 950, u" B"), SPW_CString(u"Microsoft Windows 95 version 4.0  B Build 950"));
    EXPECT_EQ(textOf(kOsWindows9x, 3, 95, 1), SPW_CString(u"Microsoft Windows 95 version 3.95  Build 1"));
    EXPECT_EQ(textOf(kOsWindows9x, 3, 0, 1), SPW_CString(u"Microsoft Windows 95 version 3.0  Build 1"));
}

TEST_F(OperatingSystemTextTest, Windows98IsEverythingLater) {
    EXPECT_EQ(textOf(kOsWindows9x, 4, 10, 2222, u" A "),
              SPW_CString(u"Microsoft Windows 98 version 4.10  A  Build 2222"));
    EXPECT_EQ(textOf(kOsWindows9x, 4, 90, 3000), SPW_CString(u"Microsoft Windows 98 version 4.90  Build 3000"));
    EXPECT_EQ(textOf(kOsWindows9x, 5, 0, 1), SPW_CString(u"Microsoft Windows 98 version 5.0  Build 1"));
}

TEST_F(OperatingSystemTextTest, NtIsNamedByItsVersion) {
    EXPECT_EQ(textOf(kOsWindowsNt, 3, 51, 1057), SPW_CString(u"Microsoft Windows NT version 3.51  Build 1057"));
    EXPECT_EQ(textOf(kOsWindowsNt, 4, 0, 1381, u"Service Pack 6"),
              SPW_CString(u"Microsoft Windows NT version 4.0 Service Pack 6 Build 1381"));
    EXPECT_EQ(textOf(kOsWindowsNt, 5, 0, 2195), SPW_CString(u"Microsoft Windows 2000 version 5.0  Build 2195"));
    EXPECT_EQ(textOf(kOsWindowsNt, 5, 1, 2600), SPW_CString(u"Microsoft Windows XP version 5.1  Build 2600"));
}

TEST_F(OperatingSystemTextTest, NtFivePointTwoHasNoVersionWord) {
    EXPECT_EQ(textOf(kOsWindowsNt, 5, 2, 3790, u"Service Pack 1"),
              SPW_CString(u"Microsoft Windows version 5.2 Service Pack 1 Build 3790"));
}

TEST_F(OperatingSystemTextTest, NtSixHasNoPrefixAtAll) {
    EXPECT_EQ(textOf(kOsWindowsNt, 6, 1, 7601), SPW_CString(u"version 6.1  Build 7601"));
    m_system.product = u"WinNT";
    EXPECT_EQ(textOf(kOsWindowsNt, 10, 0, 19045), SPW_CString(u"Workstation version 10.0  Build 19045"));
}

TEST_F(OperatingSystemTextTest, TheProductTypeStandsBeforeTheVersionWhateverItsCase) {
    for (const char16_t* type : {u"WINNT", u"WinNT", u"winnt"}) {
        m_system.product = type;
        EXPECT_EQ(textOf(kOsWindowsNt, 5, 1, 2600),
                  SPW_CString(u"Microsoft Windows XP Workstation version 5.1  Build 2600"));
    }
    for (const char16_t* type : {u"SERVERNT", u"ServerNT"}) {
        m_system.product = type;
        EXPECT_EQ(textOf(kOsWindowsNt, 5, 2, 3790), SPW_CString(u"Microsoft Windows Server version 5.2  Build 3790"));
    }
    for (const char16_t* type : {u"", u"LANMANNT", u"WINNT ", u"SERVER"}) {
        m_system.product = type;
        EXPECT_EQ(textOf(kOsWindowsNt, 5, 0, 2195), SPW_CString(u"Microsoft Windows 2000 version 5.0  Build 2195"));
    }
}

TEST_F(OperatingSystemTextTest, OnlyNtHasAProductType) {
    m_system.product = u"WINNT";
    EXPECT_EQ(textOf(kOsWindows9x, 4, 0, 1), SPW_CString(u"Microsoft Windows 95 version 4.0  Build 1"));
    EXPECT_EQ(textOf(kOsWindowsCe, 3, 0, 1), SPW_CString(u"Microsoft Pocket PC version 3.0  Build 1"));
    EXPECT_EQ(textOf(kOsLinux, 6, 1, 1), SPW_CString(u"Linux version 6.1  Build 1"));
}

TEST_F(OperatingSystemTextTest, APocketPcWithoutServicePackHasTwoBlanksBeforeItsBuild) {
    EXPECT_EQ(textOf(kOsWindowsCe, 3, 0, 11171), SPW_CString(u"Microsoft Pocket PC version 3.0  Build 11171"));
}

TEST_F(OperatingSystemTextTest, LinuxNamesItsDistributionWhereWindowsHasItsServicePack) {
    EXPECT_EQ(textOf(kOsLinux, 6, 1, 55, u"Debian GNU/Linux 12 (bookworm)"),
              SPW_CString(u"Linux version 6.1 Debian GNU/Linux 12 (bookworm) Build 55"));
}

TEST_F(OperatingSystemTextTest, OfTheBuildNumberTheLow16BitsCount) {
    EXPECT_EQ(textOf(kOsWindows9x, 4, 10, 0x040A08AE), SPW_CString(u"Microsoft Windows 98 version 4.10  Build 2222"));
    EXPECT_EQ(textOf(kOsWindowsCe, 3, 0, 0x10000), SPW_CString(u"Microsoft Pocket PC version 3.0  Build 0"));
}

TEST_F(OperatingSystemTextTest, NumbersAreUnsigned) {
    EXPECT_EQ(textOf(kOsWindowsCe, 0xFFFFFFFF, 0x80000000, 0xFFFFFFFF),
              SPW_CString(u"Microsoft Pocket PC version 4294967295.2147483648  Build 65535"));
}

TEST_F(OperatingSystemTextTest, AnyOtherPlatformIsUnknown) {
    EXPECT_EQ(textOf(4, 1, 2, 3, u"x"), SPW_CString(u"Unknown system"));
    EXPECT_EQ(textOf(0xFFFFFFFF, 0, 0), SPW_CString(u"Unknown system"));
}

TEST_F(OperatingSystemTextTest, ASystemThatDoesNotSayIsEmpty) {
    m_system.hasOsVersion = false;
    EXPECT_EQ(operatingSystemText(), SPW_CString(u""));
}

}  // namespace
