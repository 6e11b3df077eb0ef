#include "SPW_CDhcpLeaseFilesPosix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <utility>

#include "ScriptedClock.h"
#include "TemporaryFolder.h"

namespace {

using SPW_CLinkTablePosix::Link;

constexpr std::uint32_t kAddress = 0x0A000005;  // 10.0.0.5
constexpr std::uint64_t k100nsPerSecond = 10000000;

class DhcpLeaseFilesPosixTest : public testing::Test {
protected:
    DhcpLeaseFilesPosixTest() {
        m_link.index = 3;
        m_link.name = "eth0";
        m_link.addresses.push_back({kAddress, 24, false, 0});
        setNow(1000);
    }
    // All times here are seconds since 1970.
    void setNow(std::uint64_t seconds) {
        m_clock.setWall((SPW_CClock::kSecondsFrom1601To1970 + seconds) * k100nsPerSecond);
    }
    void write(const std::string& path, const std::string& content, std::int64_t written = 1000) {
        const std::filesystem::path file = m_folder.native() / path;
        std::filesystem::create_directories(file.parent_path());
        m_folder.write(path, content);
        const timespec times[2] = {{written, 0}, {written, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    }
    // When the link's lease ends; -1 when it has none.
    std::int64_t expiry() {
        SPW_CDhcpLease lease;
        return SPW_CDhcpLeaseFilesPosix(m_folder.native().string()).find(m_link, lease) ? lease.expires : -1;
    }
    static std::string assignments(int lifetime, const std::string& address = "10.0.0.5") {
        return "ADDRESS=" + address + "\nLIFETIME=" + std::to_string(lifetime) + "\n";
    }
    static std::string block(int expiry, const std::string& interfaceName = "eth0") {
        return "lease { interface \"" + interfaceName + "\"; fixed-address 10.0.0.5; expire epoch " +
               std::to_string(expiry) + "; }\n";
    }
    static std::string deviceState(int expiry, const std::string& address = "10.0.0.5") {
        return "[device]\nmanaged=true\n\n[dhcp4]\ndhcp4.dhcp_lease_time=100\ndhcp4.expiry=" + std::to_string(expiry) +
               "\ndhcp4.ip_address=" + address + "\n";
    }
    static std::string packet() {
        std::string bytes(240, '\0');
        bytes[0] = 2;
        bytes.replace(16, 4, std::string("\x0A\x00\x00\x05", 4));
        bytes.replace(236, 4, "\x63\x82\x53\x63");
        return bytes + std::string("\x33\x04\x00\x00\x00\x64\xFF", 7);  // 100 seconds
    }

    TemporaryFolder m_folder;
    ScriptedClock m_clock;
    Link m_link;
};

TEST_F(DhcpLeaseFilesPosixTest, WithoutFilesThereIsNoLease) {
    EXPECT_EQ(expiry(), -1);
}

TEST_F(DhcpLeaseFilesPosixTest, NetworkdNamesItsFilesByIndex) {
    write("run/systemd/netif/leases/3", assignments(50));
    write("run/systemd/netif/leases/30", assignments(60));
    EXPECT_EQ(expiry(), 1050);
}

TEST_F(DhcpLeaseFilesPosixTest, NetworkManagerNamesItsFilesByConnectionAndLink) {
    write("var/lib/NetworkManager/internal-0a1b-2c3d-eth0.lease", assignments(50));
    write("var/lib/NetworkManager/internal-0a1b-2c3d-eth00.lease", assignments(60));
    write("var/lib/NetworkManager/secret_key", assignments(70));
    EXPECT_EQ(expiry(), 1050);
}

TEST_F(DhcpLeaseFilesPosixTest, NetworkManagerMayHaveDhclientDoIt) {
    write("var/lib/NetworkManager/dhclient-0a1b-eth0.lease", block(2000));
    EXPECT_EQ(expiry(), 2000);
}

TEST_F(DhcpLeaseFilesPosixTest, DhcpcdNamesItsFilesByLinkAndWirelessNetwork) {
    write("var/lib/dhcpcd/eth0.lease", packet());
    EXPECT_EQ(expiry(), 1100);
    write("var/lib/dhcpcd/eth0-cafe.lease", packet(), 2000);
    EXPECT_EQ(expiry(), 2100);
    m_link.name = "eth";
    EXPECT_EQ(expiry(), -1);
}

TEST_F(DhcpLeaseFilesPosixTest, DhcpcdsOlderFolderIsReadToo) {
    write("var/lib/dhcpcd5/eth0.lease", packet());
    EXPECT_EQ(expiry(), 1100);
}

TEST_F(DhcpLeaseFilesPosixTest, DhclientKeepsAJournalForOneLinkOrForAll) {
    write("var/lib/dhcp/dhclient.eth0.leases", block(2000) + block(3000));
    EXPECT_EQ(expiry(), 3000);
    write("var/lib/dhcp/dhclient.leases", block(4000) + block(9000, "wlan0"));
    EXPECT_EQ(expiry(), 4000);
    write("var/lib/dhcp/dhcpd.leases", block(5000));
    EXPECT_EQ(expiry(), 4000) << "a server's file";
    write("var/lib/dhcp/dhclient.leases~", block(5000), 2000);
    write("var/lib/dhcp/dhclient6.eth0.leases.old", block(6000), 2000);
    EXPECT_EQ(expiry(), 4000) << "what the file was before";
}

TEST_F(DhcpLeaseFilesPosixTest, ALeaseOfAnAddressThatTheLinkDoesNotHaveSaysNothing) {
    write("run/systemd/netif/leases/3", assignments(50, "10.0.0.6"));
    write("var/lib/dhcp/dhclient.leases", "lease { interface \"eth0\"; fixed-address 10.0.0.7; expire epoch 9; }");
    EXPECT_EQ(expiry(), -1);
    m_link.addresses.push_back({0x0A000006, 24, false, 0});
    EXPECT_EQ(expiry(), 1050);
    m_link.addresses.clear();
    EXPECT_EQ(expiry(), -1);
}

TEST_F(DhcpLeaseFilesPosixTest, NetworkManagerTellsEverybodyOfItsDevices) {
    write("run/NetworkManager/devices/3", deviceState(2000));
    write("run/NetworkManager/devices/30", deviceState(3000));
    EXPECT_EQ(expiry(), 2000);
    write("var/lib/NetworkManager/internal-0a1b-2c3d-eth0.lease", "ADDRESS=10.0.0.5\n", 5000);
    EXPECT_EQ(expiry(), 2000) << "a file with nothing but the address tells less";
    setNow(2001);
    EXPECT_EQ(expiry(), 2000) << "not that it holds either";
    write("run/NetworkManager/devices/3", "[device]\nmanaged=true\n");
    EXPECT_EQ(expiry(), 0);
}

TEST_F(DhcpLeaseFilesPosixTest, OfSeveralClientsTheLatestLeaseCounts) {
    write("run/systemd/netif/leases/3", assignments(5000), 1000);
    write("run/NetworkManager/devices/3", deviceState(1050));
    EXPECT_EQ(expiry(), 6000) << "of 1000, not of 950";
    write("run/NetworkManager/devices/3", deviceState(1150));
    EXPECT_EQ(expiry(), 1150) << "of 1050, though it is the first to end";
}

TEST_F(DhcpLeaseFilesPosixTest, ALeaseThatHoldsGoesBeforeALaterOneThatHasRunOut) {
    write("run/systemd/netif/leases/3", assignments(5000), 500);
    write("run/NetworkManager/devices/3", deviceState(1001));
    EXPECT_EQ(expiry(), 1001);
    setNow(1001);
    EXPECT_EQ(expiry(), 5500);
    write("run/systemd/netif/leases/3", assignments(-1) + "SERVER_ADDRESS=10.0.0.1\n", 500);
    EXPECT_EQ(expiry(), 0) << "never ends";
}

TEST_F(DhcpLeaseFilesPosixTest, WhenAllHaveRunOutTheLatestStillTellsOfDhcp) {
    setNow(9000);
    write("run/systemd/netif/leases/3", assignments(50), 600);
    EXPECT_EQ(expiry(), 650);
    write("run/NetworkManager/devices/3", deviceState(800));
    EXPECT_EQ(expiry(), 800);
}

TEST_F(DhcpLeaseFilesPosixTest, TheKernelKnowsOfARenewalThatTheFileDoesNotShow) {
    write("run/systemd/netif/leases/3", assignments(100), 850);
    const auto leased = [this] {
        SPW_CDhcpLease lease;
        EXPECT_TRUE(SPW_CDhcpLeaseFilesPosix(m_folder.native().string()).find(m_link, lease));
        return std::pair(lease.obtained, lease.expires);
    };
    EXPECT_EQ(leased(), std::pair(std::int64_t{850}, std::int64_t{950}));
    m_link.addresses = {{kAddress + 1, 24, true, 70}, {kAddress, 24, true, 60}};
    EXPECT_EQ(leased(), std::pair(std::int64_t{960}, std::int64_t{1060}));
    write("run/NetworkManager/devices/3", deviceState(1059));
    EXPECT_EQ(leased(), std::pair(std::int64_t{960}, std::int64_t{1060})) << "renewed after the other's lease";
    write("run/NetworkManager/devices/3", deviceState(1061));
    EXPECT_EQ(leased(), std::pair(std::int64_t{961}, std::int64_t{1061})) << "whose times are exact as they stand";
    write("run/systemd/netif/leases/3", assignments(100), 980);
    EXPECT_EQ(leased(), std::pair(std::int64_t{980}, std::int64_t{1080})) << "never earlier than the file says";
    std::filesystem::remove_all(m_folder.native() / "run/systemd");
    write("run/NetworkManager/devices/3", deviceState(1010));
    EXPECT_EQ(leased(), std::pair(std::int64_t{910}, std::int64_t{1010})) << "exact, whatever the kernel has";
}

TEST_F(DhcpLeaseFilesPosixTest, OfAJournalTheLastBlockCountsWhateverItsTimes) {
    write("var/lib/dhcp/dhclient.leases", block(3000) + block(2000));
    EXPECT_EQ(expiry(), 2000);
    write("var/lib/dhcp/dhclient.leases",
          block(3000) + "lease { interface \"eth0\"; fixed-address 10.0.0.5; expire never; }\n" + block(7000, "wlan0"));
    EXPECT_EQ(expiry(), 0);
}

TEST_F(DhcpLeaseFilesPosixTest, ABlockWithoutABeginningIsAsOldAsItsJournal) {
    write("run/systemd/netif/leases/3", assignments(5000), 900);
    write("var/lib/dhcp/dhclient.leases", block(2000), 899);
    EXPECT_EQ(expiry(), 5900);
    write("var/lib/dhcp/dhclient.leases", block(2000), 901);
    EXPECT_EQ(expiry(), 2000);
}

TEST_F(DhcpLeaseFilesPosixTest, OfALongJournalTheEndCounts) {
    std::string journal;
    while (journal.size() < 600000) {
        journal += block(3000);
    }
    write("var/lib/dhcp/dhclient.leases", journal + block(4000));
    EXPECT_EQ(expiry(), 4000);
    const std::string openText = "lease {\n  option x \"" + std::string(600000, 'x') + "\";\n}\n";
    write("var/lib/dhcp/dhclient.leases", openText + block(5000));
    EXPECT_EQ(expiry(), 5000) << "where the cut is amid a text in quotes";
}

TEST_F(DhcpLeaseFilesPosixTest, NamesOfLinksMayHoldAnything) {
    for (const std::string name : {"a b", "-", "..", "*", "%s", "\"{;}", "\xC3\xA4", "\xFF"}) {
        m_link.name = name;
        write("var/lib/dhcpcd/" + name + ".lease", packet());
        EXPECT_EQ(expiry(), name == ".." ? -1 : 1100) << name << ": hidden files are none of theirs";
        std::filesystem::remove_all(m_folder.native() / "var");
    }
    m_link.name = "\"{;}\xFF";
    write("var/lib/dhcp/dhclient.leases", block(2000, "\\\"{;}\\377"));
    EXPECT_EQ(expiry(), 2000);
}

TEST_F(DhcpLeaseFilesPosixTest, WhatIsNoFileOrCannotBeReadCountsAsNotThere) {
    m_folder.makeFolder("run/systemd/netif/leases/3");
    m_folder.makeFolder("var/lib/dhcpcd");
    ASSERT_EQ(::mkfifo((m_folder.native() / "var/lib/dhcpcd/eth0.lease").c_str(), 0600), 0);
    write("var/lib/dhcp/dhclient.leases", std::string(300000, 'x') + block(2000));
    write("var/lib/NetworkManager/internal-a-eth0.lease", std::string("\0\xFF\n", 3));
    EXPECT_EQ(expiry(), -1);
}

TEST_F(DhcpLeaseFilesPosixTest, AFolderOfThousandsOfFilesIsNotReadForEver) {
    for (int i = 0; i < 2000; ++i) {
        write("var/lib/NetworkManager/internal-" + std::to_string(10000 + i) + "-eth0.lease", assignments(50));
    }
    EXPECT_EQ(expiry(), 1050);
}

TEST_F(DhcpLeaseFilesPosixTest, ThousandsOfFilesOfOthersDoNotHideALease) {
    for (int i = 0; i < 2000; ++i) {
        write("var/lib/NetworkManager/seen-" + std::to_string(10000 + i), "x");
    }
    write("var/lib/NetworkManager/internal-0a1b-eth0.lease", assignments(50));
    EXPECT_EQ(expiry(), 1050);
}

TEST_F(DhcpLeaseFilesPosixTest, WhatMayNotBeReadCountsAsNotThere) {
    write("run/systemd/netif/leases/3", assignments(50));
    ASSERT_EQ(::chmod((m_folder.native() / "run/systemd/netif/leases/3").c_str(), 0), 0);
    const uid_t user = ::geteuid();
    if (user == 0) {
        ASSERT_EQ(::seteuid(65534), 0) << "root may read everything";
    }
    EXPECT_EQ(expiry(), -1);
    ASSERT_EQ(::seteuid(user), 0);
}

}  // namespace
