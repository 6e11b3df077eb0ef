#include "SPW_CIpAddress.h"

#include <gtest/gtest.h>

namespace {

TEST(IpAddressTest, ADefaultAddressIsAllZero) {
    EXPECT_STREQ(SPW_CIpAddress().toText().toAnsi(), "0.0.0.0");
}

TEST(IpAddressTest, OctetsKeepTheOrderOfTheText) {
    SPW_CIpAddress address;
    ASSERT_TRUE(SPW_CIpAddress::parse(u"10.20.30.40", address));
    EXPECT_EQ(address.octet(0), 10);
    EXPECT_EQ(address.octet(1), 20);
    EXPECT_EQ(address.octet(2), 30);
    EXPECT_EQ(address.octet(3), 40);
    EXPECT_EQ(address, SPW_CIpAddress(10, 20, 30, 40));
}

TEST(IpAddressTest, EachOctetTakesPartInTheComparison) {
    const SPW_CIpAddress address(1, 2, 3, 4);
    EXPECT_EQ(address, SPW_CIpAddress(1, 2, 3, 4));
    EXPECT_NE(address, SPW_CIpAddress(9, 2, 3, 4));
    EXPECT_NE(address, SPW_CIpAddress(1, 9, 3, 4));
    EXPECT_NE(address, SPW_CIpAddress(1, 2, 9, 4));
    EXPECT_NE(address, SPW_CIpAddress(1, 2, 3, 9));
}

TEST(IpAddressTest, EveryOctetIsWrittenAndReadBack) {
    for (int value = 0; value <= 255; ++value) {
        const std::uint8_t octet = static_cast<std::uint8_t>(value);
        const SPW_CIpAddress address(octet, static_cast<std::uint8_t>(255 - value), 0, octet);
        SPW_CIpAddress parsed;
        ASSERT_TRUE(SPW_CIpAddress::parse(address.toText(), parsed)) << address.toText().toAnsi();
        ASSERT_EQ(parsed, address);
    }
    EXPECT_STREQ(SPW_CIpAddress(255, 255, 255, 255).toText().toAnsi(), "255.255.255.255");
    EXPECT_STREQ(SPW_CIpAddress(9, 10, 99, 100).toText().toAnsi(), "9.10.99.100");
}

TEST(IpAddressTest, LeadingZerosAreDecimal) {
    SPW_CIpAddress address;
    ASSERT_TRUE(SPW_CIpAddress::parse(u"010.008.000.255", address));
    EXPECT_EQ(address, SPW_CIpAddress(10, 8, 0, 255));
}

TEST(IpAddressTest, TheTextOfNoneIsAnAddressLikeOthers) {
    SPW_CIpAddress address;
    EXPECT_TRUE(SPW_CIpAddress::parse(u"255.255.255.255", address));
    EXPECT_EQ(address, SPW_CIpAddress::none());
}

class NoDottedQuadTest : public testing::TestWithParam<const char16_t*> {};

TEST_P(NoDottedQuadTest, IsRefusedAndGivesNone) {
    SPW_CIpAddress address(1, 2, 3, 4);
    EXPECT_FALSE(SPW_CIpAddress::parse(GetParam(), address));
    EXPECT_EQ(address, SPW_CIpAddress::none());
}

INSTANTIATE_TEST_SUITE_P(IpAddressTest, NoDottedQuadTest,
                         testing::Values(u"", u".", u"...", u"1", u"1.2", u"1.2.3", u"1.2.3.", u".1.2.3", u"1..2.3",
                                         u"1.2.3.4.", u"1.2.3.4.5", u"256.1.1.1", u"1.256.1.1", u"1.1.256.1",
                                         u"1.1.1.256", u"1.1.1.999", u"1.1.1.1000", u"0001.1.1.1", u"1.1.1.0000",
                                         u" 1.2.3.4", u"1.2.3.4 ", u"1. 2.3.4", u"1.2.3.4\n", u"+1.2.3.4", u"-1.2.3.4",
                                         u"1.2.3.-4", u"0x1.2.3.4", u"1,2,3,4", u"1.2.3.4x", u"a.b.c.d", u"localhost",
                                         u"1.2.3.4/24", u"1.2.3.4:80", u"16909060", u"\u0661.2.3.4", u"\uFF11.2.3.4",
                                         u"99999999999999999999.1.1.1"));

}  // namespace
