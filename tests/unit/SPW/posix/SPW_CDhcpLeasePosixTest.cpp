#include "SPW_CDhcpLeasePosix.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using SPW_CDhcpLeasePosix::JournalEntry;
using SPW_CDhcpLeasePosix::parseAssignments;
using SPW_CDhcpLeasePosix::parseJournal;
using SPW_CDhcpLeasePosix::parsePacket;

constexpr std::uint32_t kAddress = 0x0A000005;  // 10.0.0.5
constexpr std::uint32_t kServer = 0x0A000001;   // 10.0.0.1
constexpr std::int64_t kWritten = 1700000000;

// --- dhclient's journal

std::string block(const std::string& statements) {
    return "lease {\n  interface \"eth0\";\n  fixed-address 10.0.0.5;\n" + statements + "}\n";
}

SPW_CDhcpLease onlyLeaseOf(const std::string& journal) {
    const std::vector<JournalEntry> entries = parseJournal(journal);
    EXPECT_EQ(entries.size(), 1u) << journal;
    return entries.empty() ? SPW_CDhcpLease() : entries[0].lease;
}

TEST(DhcpJournalPosixTest, ABlockIsALease) {
    const std::vector<JournalEntry> entries = parseJournal(
        "default-duid \"\\000\\001\";\n"
        "lease {\n"
        "  interface \"eth0\";\n"
        "  fixed-address 10.0.0.5;\n"
        "  option subnet-mask 255.255.255.0;\n"
        "  option dhcp-lease-time 600;\n"
        "  option routers 10.0.0.1,10.0.0.2;\n"
        "  option dhcp-message-type 5;\n"
        "  option dhcp-server-identifier 10.0.0.1;\n"
        "  option domain-name \"a;}b\\\"c\";\n"
        "  renew 2 2023/11/14 22:10:00;\n"
        "  rebind 2 2023/11/14 22:12:00;\n"
        "  expire 2 2023/11/14 22:13:20;\n"
        "}\n");
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].interfaceName, "eth0");
    EXPECT_EQ(entries[0].lease.address, kAddress);
    EXPECT_EQ(entries[0].lease.server, kServer);
    EXPECT_EQ(entries[0].lease.expires, 1700000000);
    EXPECT_EQ(entries[0].lease.obtained, 1700000000 - 600);
}

TEST(DhcpJournalPosixTest, ATimeMayBeSecondsWithACommentOrNever) {
    EXPECT_EQ(onlyLeaseOf(block("expire epoch 1700000000; # Tue Nov 14 22:13:20 2023\n")).expires, 1700000000);
    const SPW_CDhcpLease endless = onlyLeaseOf(block("option dhcp-lease-time 4294967295;\nexpire never;\n"));
    EXPECT_EQ(endless.expires, 0);
    EXPECT_EQ(endless.obtained, 0);
}

TEST(DhcpJournalPosixTest, BlocksComeInTheOrderOfTheFile) {
    const std::vector<JournalEntry> entries =
        parseJournal(block("expire epoch 100;") + "lease { interface \"wlan0\"; fixed-address 10.0.0.6; }" +
                     block("expire epoch 200;") + "lease{fixed-address 10.0.0.7;}");
    ASSERT_EQ(entries.size(), 4u);
    EXPECT_EQ(entries[0].lease.expires, 100);
    EXPECT_EQ(entries[1].interfaceName, "wlan0");
    EXPECT_EQ(entries[2].lease.expires, 200);
    EXPECT_EQ(entries[3].interfaceName, "");
}

TEST(DhcpJournalPosixTest, OtherBlocksAndWhatIsNotClosedAreNone) {
    EXPECT_TRUE(parseJournal("lease6 { interface \"eth0\"; fixed-address 10.0.0.5; }").empty());
    EXPECT_TRUE(parseJournal("lease { interface \"eth0\"; }").empty()) << "without an address";
    EXPECT_TRUE(parseJournal("lease { fixed-address 10.0.0.5; ").empty()) << "cut off";
    EXPECT_TRUE(parseJournal("lease { fixed-address 10.0.0.5 }").empty()) << "without the end of the statement";
    EXPECT_TRUE(parseJournal("lease { fixed-address \"10.0.0.5; }").empty()) << "an open text";
    EXPECT_TRUE(parseJournal("; } } { ; lease } { fixed-address 10.0.0.5; }").empty());
}

TEST(DhcpJournalPosixTest, WhatIsNoTimeIsNotKnown) {
    for (const char* const time :
         {"expire;", "expire 2;", "expire 2 2023/11/14;", "expire 2 2023/11/31 00:00:00;",
          "expire 2 2023-11-14 22:13:20;", "expire 2 2023/11/14 22:13;", "expire 2 2023/11/14 22:13:20x;",
          "expire 2 99999/11/14 22:13:20;", "expire 2 0/0/0 0:0:0;", "expire 2 -1/1/1 0:0:0;", "expire epoch;",
          "expire epoch -5;", "expire epoch 99999999999999999999;", "expire epoch 5x;",
          "expire 2 99999999999/11/14 22:13:20;", "expire 2 1969/12/31 23:59:59;"}) {
        EXPECT_EQ(onlyLeaseOf(block(time)).expires, 0) << time;
    }
}

TEST(DhcpJournalPosixTest, ALeaseTimeThatCannotBeGivesNoBeginning) {
    for (const char* const duration : {"0", "-5", "1700000000", "99999999999999999999", "x", "5 5"}) {
        const SPW_CDhcpLease lease =
            onlyLeaseOf(block("expire epoch 1700000000;\noption dhcp-lease-time " + std::string(duration) + ";\n"));
        EXPECT_EQ(lease.obtained, 0) << duration;
    }
}

TEST(DhcpJournalPosixTest, JunkAndEndlessWordsEndWithTheFile) {
    EXPECT_TRUE(parseJournal(std::string(100000, '{')).empty());
    EXPECT_TRUE(parseJournal(std::string(100000, '\0')).empty());
    EXPECT_TRUE(parseJournal("lease { interface \"" + std::string(100000, 'x')).empty());
    EXPECT_EQ(onlyLeaseOf(std::string(100000, '#') + "\n" + block("")).address, kAddress);
    EXPECT_EQ(onlyLeaseOf(std::string(100000, 'a') + " " + std::string(100000, 'b') + ";" + block("")).address,
              kAddress);
}

// --- dhcpcd's packet

class DhcpPacketPosixTest : public testing::Test {
protected:
    DhcpPacketPosixTest() : m_packet(240, '\0') {
        m_packet[0] = 2;
        set(16, "\x0A\x00\x00\x05");
        set(236, "\x63\x82\x53\x63");
    }
    template <std::size_t size>
    void set(std::size_t position, const char (&bytes)[size]) {
        m_packet.replace(position, size - 1, bytes, size - 1);
    }
    template <std::size_t size>
    void add(const char (&bytes)[size]) {
        m_packet.append(bytes, size - 1);
    }
    bool parse() { return parsePacket(m_packet, kWritten, m_lease); }

    std::string m_packet;
    SPW_CDhcpLease m_lease;
};

TEST_F(DhcpPacketPosixTest, TheAcknowledgementIsTheLease) {
    add("\x35\x01\x05\x00\x00\x36\x04\x0A\x00\x00\x01\x33\x04\x00\x00\x02\x58\xFF");
    ASSERT_TRUE(parse());
    EXPECT_EQ(m_lease.address, kAddress);
    EXPECT_EQ(m_lease.server, kServer);
    EXPECT_EQ(m_lease.obtained, kWritten);
    EXPECT_EQ(m_lease.expires, kWritten + 600);
}

TEST_F(DhcpPacketPosixTest, WithoutOptionsOnlyTheAddressIsKnown) {
    ASSERT_TRUE(parse());
    EXPECT_EQ(m_lease.server, 0u);
    EXPECT_EQ(m_lease.expires, 0);
}

TEST_F(DhcpPacketPosixTest, ALeaseForEverHasNoEnd) {
    add("\x33\x04\xFF\xFF\xFF\xFF\xFF");
    ASSERT_TRUE(parse());
    EXPECT_EQ(m_lease.expires, 0);
}

TEST_F(DhcpPacketPosixTest, NothingBehindTheEndIsRead) {
    add("\xFF\x36\x04\x0A\x00\x00\x01");
    ASSERT_TRUE(parse());
    EXPECT_EQ(m_lease.server, 0u);
}

TEST_F(DhcpPacketPosixTest, OptionsGoOnInTheFieldsThatOneOfThemNames) {
    set(108, "\x33\x04\x00\x00\x02\x58\xFF");
    set(44, "\x36\x04\x0A\x00\x00\x01\xFF");
    add("\x34\x01\x03\xFF");
    ASSERT_TRUE(parse());
    EXPECT_EQ(m_lease.server, kServer);
    EXPECT_EQ(m_lease.expires, kWritten + 600);
    m_packet.resize(240);
    add("\x34\x01\x01\xFF");
    ASSERT_TRUE(parse());
    EXPECT_EQ(m_lease.server, 0u) << "the boot file alone";
    m_packet.resize(240);
    ASSERT_TRUE(parse());
    EXPECT_EQ(m_lease.expires, 0) << "neither";
}

TEST_F(DhcpPacketPosixTest, AnOptionThatRunsBehindTheEndIsNone) {
    add("\x36\x04\x0A\x00\x00");
    ASSERT_TRUE(parse());
    EXPECT_EQ(m_lease.server, 0u);
    m_packet.resize(240);
    add("\x36");
    ASSERT_TRUE(parse());
    m_packet.resize(240);
    add("\x36\x03\x0A\x00\x00\x33\x05\x00\x00\x02\x58\x00");
    ASSERT_TRUE(parse());
    EXPECT_EQ(m_lease.server, 0u);
    EXPECT_EQ(m_lease.expires, 0);
}

TEST_F(DhcpPacketPosixTest, WhatIsNoAcknowledgementIsNone) {
    const std::string whole = m_packet;
    for (std::size_t size : {0, 1, 16, 20, 236, 239}) {
        m_packet = whole.substr(0, size);
        EXPECT_FALSE(parse()) << size;
    }
    m_packet = whole;
    m_packet[0] = 1;
    EXPECT_FALSE(parse()) << "a request";
    m_packet = whole;
    m_packet[239] = 0;
    EXPECT_FALSE(parse()) << "no DHCP";
    m_packet = whole;
    set(16, "\0\0\0\0");
    EXPECT_FALSE(parse()) << "no address";
}

// --- Lines NAME=value

TEST(DhcpAssignmentsPosixTest, TheNamesOfNetworkdAreALease) {
    SPW_CDhcpLease lease;
    ASSERT_TRUE(
        parseAssignments("# This is private data. Do not parse.\nADDRESS=10.0.0.5\nNETMASK=255.255.255.0\n"
                         "ROUTER=10.0.0.1\nSERVER_ADDRESS=10.0.0.1\nT1=300\nT2=525\nLIFETIME=600\n"
                         "DNS=10.0.0.53\n",
                         kWritten, lease));
    EXPECT_EQ(lease.address, kAddress);
    EXPECT_EQ(lease.server, kServer);
    EXPECT_EQ(lease.obtained, kWritten);
    EXPECT_EQ(lease.expires, kWritten + 600);
}

TEST(DhcpAssignmentsPosixTest, AnExpiryIsTheEndItself) {
    SPW_CDhcpLease lease;
    ASSERT_TRUE(parseAssignments("ADDRESS=10.0.0.5\nEXPIRY=1700001234\nLIFETIME=5", kWritten, lease));
    EXPECT_EQ(lease.expires, 1700001234);
}

TEST(DhcpAssignmentsPosixTest, TheAddressAloneIsALeaseWhoseEndIsNotKnown) {
    SPW_CDhcpLease lease;
    ASSERT_TRUE(parseAssignments("ADDRESS=10.0.0.5", kWritten, lease));
    EXPECT_EQ(lease.server, 0u);
    EXPECT_EQ(lease.expires, 0);
    ASSERT_TRUE(parseAssignments("ADDRESS=10.0.0.5\nLIFETIME=4294967295\n", kWritten, lease));
    EXPECT_EQ(lease.expires, 0) << "for ever";
    for (const char* const lifetime : {"-5", "x", "5x", "", "99999999999999999999", " 5"}) {
        ASSERT_TRUE(parseAssignments("ADDRESS=10.0.0.5\nLIFETIME=" + std::string(lifetime), kWritten, lease));
        EXPECT_EQ(lease.expires, 0) << lifetime;
    }
}

TEST(DhcpAssignmentsPosixTest, WithoutAnAddressThereIsNoLease) {
    SPW_CDhcpLease lease;
    lease.server = 7;
    for (const char* const file : {"", "SERVER_ADDRESS=10.0.0.1\n", "ADDRESS\n", "ADDRESS=\n", "ADDRESS=::1\n",
                                   "address=10.0.0.5\n", " ADDRESS=10.0.0.5\n", "ADDRESS=10.0.0.5 \n", "\xFF\xFE=\n"}) {
        EXPECT_FALSE(parseAssignments(file, kWritten, lease)) << file;
    }
    EXPECT_FALSE(parseAssignments(std::string(1 << 20, '='), kWritten, lease));
    EXPECT_EQ(lease.server, 7u) << "left alone";
}

}  // namespace
