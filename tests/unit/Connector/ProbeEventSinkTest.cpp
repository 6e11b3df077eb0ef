#include "ProbeEventSink.h"

#include <gtest/gtest.h>

TEST(ProbeEventSinkTest, EveryKindHasItsName) {
    EXPECT_STREQ(SPW_CString(probeKindName(kTcpipConnector)).toAnsi(), "tcpip connector");
    EXPECT_STREQ(SPW_CString(probeKindName(kTcpipListener)).toAnsi(), "tcpip listener");
    EXPECT_STREQ(SPW_CString(probeKindName(kUdpConnector)).toAnsi(), "udp connector");
    EXPECT_STREQ(SPW_CString(probeKindName(kUdpListener)).toAnsi(), "udp listener");
    EXPECT_STREQ(SPW_CString(probeKindName(kMulticastConnector)).toAnsi(), "multicast connector");
    EXPECT_STREQ(SPW_CString(probeKindName(kMulticastListener)).toAnsi(), "multicast listener");
    EXPECT_STREQ(SPW_CString(probeKindName(kPinger)).toAnsi(), "pinger");
}

TEST(ProbeEventSinkTest, KindsAreNumberedFromZeroToSix) {
    EXPECT_EQ(0u, std::uint32_t{kTcpipConnector});
    EXPECT_EQ(6u, std::uint32_t{kPinger});
}

TEST(ProbeEventSinkTest, AnythingElseHasNoName) {
    EXPECT_TRUE(SPW_CString(probeKindName(ProbeKind{7})).isEmpty());
    EXPECT_TRUE(SPW_CString(probeKindName(ProbeKind{0xFFFFFFFFu})).isEmpty());
}

TEST(ProbeEventSinkTest, FailureTextEndsInTheCode) {
    EXPECT_STREQ(probeFailureText(u"bind failed ", 10048).toAnsi(), "bind failed 10048");
    EXPECT_STREQ(probeFailureText(u"", 0xFFFFFFFFu).toAnsi(), "4294967295");
}
