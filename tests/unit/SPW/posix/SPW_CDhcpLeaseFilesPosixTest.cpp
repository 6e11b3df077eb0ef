#include "SPW_CDhcpLeaseFilesPosix.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "TemporaryFolder.h"

namespace {

using SPW_CLinkTablePosix::Link;

constexpr std::uint32_t kAddress = 0x0A000005;  // 10.0.0.5

class DhcpLeaseFilesPosixTest : public testing::Test {
protected:
    DhcpLeaseFilesPosixTest() {
        m_link.index = 3;
        m_link.name = "eth0";
        m_link.addresses.push_back({kAddress, 24, false, 0});
    }
    void write(const std::string& path, const std::string& content, std::int64_t written = 1000) {
        const std::filesystem::path file = m_folder.native() / path;
        std::filesystem::create_directories(file.parent_path());
        m_folder.write(path, content);
        const timespec times[2] = {{written, 0}, {written, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    }
    // Seconds since 1970 at which the link's lease ends; -1 when it has none.
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
    static std::string packet() {
        std::string bytes(240, '\0');
        bytes[0] = 2;
        bytes.replace(16, 4, std::string("\x0A\x00\x00\x05", 4));
        bytes.replace(236, 4, "\x63\x82\x53\x63");
        return bytes + std::string("\x33\x04\x00\x00\x00\x64\xFF", 7);  // 100 seconds
    }

    TemporaryFolder m_folder;
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

TEST_F(DhcpLeaseFilesPosixTest, OfSeveralClientsTheLatestLeaseCounts) {
    write("run/systemd/netif/leases/3", assignments(50), 5000);
    write("var/lib/dhcp/dhclient.leases", block(2000));
    EXPECT_EQ(expiry(), 5050);
    write("var/lib/dhcp/dhclient.leases", block(6000));
    EXPECT_EQ(expiry(), 6000);
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

}  // namespace
