#include "SPW_CDhcpLeasePosix.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>

namespace {

using SPW_CDhcpLeasePosix::JournalEntry;
using SPW_CDhcpLeasePosix::parseAssignments;
using SPW_CDhcpLeasePosix::parseDeviceState;
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

TEST(DhcpJournalPosixTest, ALeaseForEverHasABeginningButNoEnd) {
    const SPW_CDhcpLease lease = onlyLeaseOf(block("option dhcp-lease-time 4294967295;\nexpire epoch 5994967295;\n"));
    EXPECT_EQ(lease.obtained, 1700000000);
    EXPECT_EQ(lease.expires, 0);
}

TEST(DhcpJournalPosixTest, BytesOfATextMayBeNumbers) {
    for (const auto& [written, name] : {std::pair<std::string, std::string>("a\\303\\244b",
                                                                            "a\xC3\xA4"
                                                                            "b"),
                                        {"a\\\\\\\"b", "a\\\"b"},
                                        {"\\1\\0128",
                                         "\1\n"
                                         "8"},
                                        {"\\777", "\xFF"},
                                        {"\\1017", "A7"},
                                        {"\\x41", "x41"}}) {
        const std::vector<JournalEntry> entries =
            parseJournal("lease { interface \"" + written + "\"; fixed-address 10.0.0.5; }");
        ASSERT_EQ(entries.size(), 1u) << written;
        EXPECT_EQ(entries[0].interfaceName, name) << written;
    }
    EXPECT_TRUE(parseJournal("lease { interface \"a\\").empty());
    EXPECT_TRUE(parseJournal("lease { interface \"a\\3").empty());
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
    EXPECT_TRUE(lease.mayBeRenewed);
    EXPECT_EQ(lease.address, kAddress);
    EXPECT_EQ(lease.server, kServer);
    EXPECT_EQ(lease.obtained, kWritten);
    EXPECT_EQ(lease.expires, kWritten + 600);
}

TEST(DhcpAssignmentsPosixTest, TheAddressAloneIsALeaseWhoseEndIsNotKnown) {
    SPW_CDhcpLease lease;
    ASSERT_TRUE(parseAssignments("ADDRESS=10.0.0.5", kWritten, lease));
    EXPECT_FALSE(lease.mayBeRenewed) << "there are no times to be renewed";
    EXPECT_EQ(lease.server, 0u);
    EXPECT_EQ(lease.expires, 0);
    ASSERT_TRUE(parseAssignments("ADDRESS=10.0.0.5\nLIFETIME=4294967295\n", kWritten, lease));
    EXPECT_EQ(lease.expires, 0) << "for ever";
    for (const char* const lifetime : {"-5", "x", "5x", "", "99999999999999999999", " 5"}) {
        ASSERT_TRUE(parseAssignments("ADDRESS=10.0.0.5\nLIFETIME=" + std::string(lifetime), kWritten, lease));
        EXPECT_EQ(lease.expires, 0) << lifetime;
    }
}

TEST(DhcpAssignmentsPosixTest, ALifetimeMayBeWrittenInWords) {
    for (const auto& [lifetime, seconds] : {std::pair<const char*, std::int64_t>("1h", 3600),
                                            {"1d 2h 3min 4s", 93784},
                                            {"2min", 120},
                                            {"45s", 45},
                                            {"1w", 604800},
                                            {"1month 1w", 3234600},
                                            {"1y 1month", 34187400},
                                            {"136y", 4291833600}}) {
        SPW_CDhcpLease lease;
        ASSERT_TRUE(parseAssignments("ADDRESS=10.0.0.5\nLIFETIME=" + std::string(lifetime), kWritten, lease));
        EXPECT_EQ(lease.expires, kWritten + seconds) << lifetime;
    }
}

TEST(DhcpAssignmentsPosixTest, ALifetimeForEverOrWithoutSenseHasNoEnd) {
    for (const char* const lifetime : {"infinity", "137y", "136y 136y", "99999999999y", "h", "5 min", "1h  2min", " 1h",
                                       "1h,", "1.5h", "-1h", "0h", "1h 0", "1fortnight", "1h\r"}) {
        SPW_CDhcpLease lease;
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

// --- What NetworkManager notes of a device

constexpr const char* kDeviceState =
    "[device]\nmanaged=true\n\n[dhcp4]\ndhcp4.dhcp_lease_time=600\ndhcp4.dhcp_server_identifier=10.0.0.1\n"
    "dhcp4.expiry=1700000000\ndhcp4.ip_address=10.0.0.5\n";

TEST(DhcpDeviceStatePosixTest, TheGroupOfDhcpIsALease) {
    SPW_CDhcpLease lease;
    ASSERT_TRUE(parseDeviceState(kDeviceState, lease));
    EXPECT_EQ(lease.address, kAddress);
    EXPECT_EQ(lease.server, kServer);
    EXPECT_EQ(lease.obtained, 1700000000 - 600);
    EXPECT_EQ(lease.expires, 1700000000);
}

TEST(DhcpDeviceStatePosixTest, ALeaseForEverHasNoEnd) {
    SPW_CDhcpLease lease;
    ASSERT_TRUE(parseDeviceState("[dhcp4]\ndhcp4.dhcp_lease_time=4294967295\ndhcp4.ip_address=10.0.0.5", lease));
    EXPECT_EQ(lease.expires, 0);
    EXPECT_EQ(lease.obtained, 0);
    ASSERT_TRUE(parseDeviceState(std::string(kDeviceState) + "dhcp4.dhcp_lease_time=4294967295\n", lease));
    EXPECT_EQ(lease.expires, 0);
}

TEST(DhcpDeviceStatePosixTest, WhatIsNoNumberIsNotKnown) {
    for (const char* const number : {"", "x", "-5", "5x", " 5", "4294967296", "99999999999999999999"}) {
        SPW_CDhcpLease lease;
        ASSERT_TRUE(parseDeviceState("[dhcp4]\ndhcp4.ip_address=10.0.0.5\ndhcp4.dhcp_lease_time=" +
                                         std::string(number) + "\ndhcp4.expiry=" + number + "\n",
                                     lease));
        EXPECT_EQ(lease.expires, 0) << number;
        EXPECT_EQ(lease.obtained, 0) << number;
    }
}

TEST(DhcpDeviceStatePosixTest, OtherGroupsAndNamesSayNothing) {
    SPW_CDhcpLease lease;
    lease.server = 7;
    for (const char* const file :
         {"", "[dhcp4]", "[dhcp4]\n", "[device]\ndhcp4.ip_address=10.0.0.5\n", "[dhcp6]\ndhcp4.ip_address=10.0.0.5\n",
          "dhcp4.ip_address=10.0.0.5\n", "[dhcp4]\nip_address=10.0.0.5\n", "[dhcp4]\nxxxxx.ip_address=10.0.0.5\n",
          "[dhcp4]\ndhcp4.ip_address\n", "[dhcp4]\ndhcp4.=10.0.0.5\n", "[dhcp4]\ndhcp4=10.0.0.5\n",
          "[dhcp4]\ndhcp4.ip_address=::1\n", "[dhcp4\ndhcp4.ip_address=10.0.0.5\n",
          "[dhcp4]\n[x]\ndhcp4.ip_address=10.0.0.5\n", "\xFF\xFE=\n"}) {
        EXPECT_FALSE(parseDeviceState(file, lease)) << file;
    }
    EXPECT_FALSE(parseDeviceState("[dhcp4]\n" + std::string(1 << 20, '='), lease));
    EXPECT_EQ(lease.server, 7u) << "left alone";
}

// --- Files that the clients themselves wrote; the fuzzer starts from them, too

std::string fileOf(const std::string& client) {
    std::ifstream file(LINKOMETRY_SOURCE_DIR "/tests/fuzz/corpus/LeaseFuzz/" + client, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << client;
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void expectLease(const SPW_CDhcpLease& lease, unsigned lastOctet, std::int64_t obtained, std::int64_t expires) {
    EXPECT_EQ(lease.address, 0xC0000200 + lastOctet);
    EXPECT_EQ(lease.server, 0xC0000201) << "192.0.2.1";
    EXPECT_EQ(lease.obtained, obtained);
    EXPECT_EQ(lease.expires, expires);
}

TEST(DhcpClientsPosixTest, DhclientWroteThis) {
    expectLease(onlyLeaseOf(fileOf("dhclient-4.4")), 29, 1795235589, 1795239189);
    expectLease(onlyLeaseOf(fileOf("dhclient-4.4-for-ever")), 29, 1795235877, 0);
}

TEST(DhcpClientsPosixTest, DhcpcdWroteThis) {
    SPW_CDhcpLease lease;
    ASSERT_TRUE(parsePacket(fileOf("dhcpcd-9.4"), kWritten, lease));
    expectLease(lease, 29, kWritten, kWritten + 3600);
    ASSERT_TRUE(parsePacket(fileOf("dhcpcd-9.4-for-ever"), kWritten, lease));
    expectLease(lease, 29, kWritten, 0);
}

TEST(DhcpClientsPosixTest, NetworkdWroteThis) {
    SPW_CDhcpLease lease;
    ASSERT_TRUE(parseAssignments(fileOf("networkd-252"), kWritten, lease));
    expectLease(lease, 29, kWritten, kWritten + 120);
    ASSERT_TRUE(parseAssignments(fileOf("networkd-252-for-ever"), kWritten, lease));
    expectLease(lease, 30, kWritten, 0);
}

TEST(DhcpClientsPosixTest, NetworkManagerWroteThis) {
    SPW_CDhcpLease lease;
    ASSERT_TRUE(parseDeviceState(fileOf("networkmanager-1.42-device"), lease));
    expectLease(lease, 30, 1795239264 - 3600, 1795239264);
    ASSERT_TRUE(parseDeviceState(fileOf("networkmanager-1.42-device-for-ever"), lease));
    expectLease(lease, 29, 0, 0);
    ASSERT_TRUE(parseAssignments(fileOf("networkmanager-1.42-internal"), kWritten, lease));
    EXPECT_EQ(lease.address, 0xC000021Eu) << "192.0.2.30";
    EXPECT_EQ(lease.server, 0u);
    EXPECT_EQ(lease.expires, 0);
}

}  // namespace
