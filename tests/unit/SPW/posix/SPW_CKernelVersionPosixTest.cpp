#include "SPW_CKernelVersionPosix.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// "6.1.55", or "none".
std::string parsed(std::string_view release, std::string_view build, std::string_view signature = "") {
    SPW_CKernelVersionPosix::Version version;
    if (!SPW_CKernelVersionPosix::parse(release, build, signature, version)) {
        return "none";
    }
    return std::to_string(version.major) + "." + std::to_string(version.minor) + "." + std::to_string(version.patch);
}

TEST(KernelVersionTest, ReleaseOfAnUnchangedKernelIsTheVersion) {
    EXPECT_EQ(parsed("6.18.44", "#1 SMP PREEMPT_DYNAMIC Tue Sep 2 10:11:12 UTC 2025"), "6.18.44");
    EXPECT_EQ(parsed("6.8.4-2-pve", "#1 SMP PREEMPT_DYNAMIC PMX 6.8.4-2 (2024-04-10T17:36Z)"), "6.8.4");
    EXPECT_EQ(parsed("5.10.102.1-microsoft-standard-WSL2", "#1 SMP Wed Mar 2 00:30:59 UTC 2022"), "5.10.102");
}

TEST(KernelVersionTest, DebianTellsThePatchLevelInTheTextOfTheBuild) {
    EXPECT_EQ(parsed("6.1.0-13-amd64", "#1 SMP PREEMPT_DYNAMIC Debian 6.1.55-1 (2023-09-29)"), "6.1.55");
    EXPECT_EQ(parsed("6.1.0-0.deb11.7-amd64", "#1 SMP PREEMPT_DYNAMIC Debian 6.1.20-2~bpo11+1 (2023-04-23)"), "6.1.20");
    EXPECT_EQ(parsed("6.12.38+deb13-amd64", "#1 SMP PREEMPT_DYNAMIC Debian 6.12.38-1 (2025-07-16)"), "6.12.38");
    EXPECT_EQ(parsed("6.1.0-rpi7-rpi-v8", "#1 SMP PREEMPT Debian 1:6.1.63-1+rpt1 (2023-11-24)"), "6.1.63")
        << "a package version with an epoch";
}

TEST(KernelVersionTest, UbuntuTellsThePatchLevelAtTheEndOfTheSignature) {
    EXPECT_EQ(parsed("5.15.0-25-generic", "#25-Ubuntu SMP Wed Mar 30 15:54:22 UTC 2022",
                     "Ubuntu 5.15.0-25.25-generic 5.15.30\n"),
              "5.15.30");
    EXPECT_EQ(parsed("6.8.0-31-generic", "#31-Ubuntu SMP", "Ubuntu 6.8.0-31.31-generic 6.8.1"), "6.8.1");
}

TEST(KernelVersionTest, SignatureGoesBeforeTheBuildAndTheBuildBeforeTheRelease) {
    EXPECT_EQ(parsed("6.1.1", "6.1.2", "6.1.3"), "6.1.3");
    EXPECT_EQ(parsed("6.1.1", "6.1.2", ""), "6.1.2");
}

TEST(KernelVersionTest, VersionsOfAnotherSeriesDoNotCount) {
    EXPECT_EQ(parsed("6.1.7", "built with 12.2.0 on 5.1.3", "Ubuntu 6.1.0-1 5.1.9"), "6.1.7");
    EXPECT_EQ(parsed("6.1.7", "6.11.3", "6.10.4"), "6.1.7");
}

TEST(KernelVersionTest, OnlyTheLastWordOfTheSignatureCounts) {
    EXPECT_EQ(parsed("6.1.7", "", "Ubuntu 6.1.9 generic"), "6.1.7");
}

TEST(KernelVersionTest, MissingPatchLevelIsZero) {
    EXPECT_EQ(parsed("6.1", "#1"), "6.1.0");
    EXPECT_EQ(parsed("6.1-rc3", "#1"), "6.1.0");
    EXPECT_EQ(parsed("6.1.", "#1"), "6.1.0");
    EXPECT_EQ(parsed("6.1.x", "#1"), "6.1.0");
}

TEST(KernelVersionTest, ReleaseThatIsNoVersionIsNone) {
    for (const char* release : {"", "6", "6.", "six.one", ".1.2", " 6.1", "-6.1", "99999999999.1", "6.99999999999"}) {
        EXPECT_EQ(parsed(release, "#1 Debian 6.1.55-1", "6.1.55"), "none") << release;
    }
}

TEST(KernelVersionTest, PatchLevelThatIsNoNumberOf32BitsDoesNotCount) {
    EXPECT_EQ(parsed("6.1.7", "Debian 6.1.99999999999"), "6.1.7");
    EXPECT_EQ(parsed("6.1.99999999999", ""), "6.1.0");
}

TEST(KernelVersionTest, WhatCannotBeParsedLeavesTheVersionUntouched) {
    SPW_CKernelVersionPosix::Version version;
    version.major = 77;
    EXPECT_FALSE(SPW_CKernelVersionPosix::parse("6", "", "", version));
    EXPECT_EQ(version.major, 77u);
}

}  // namespace
