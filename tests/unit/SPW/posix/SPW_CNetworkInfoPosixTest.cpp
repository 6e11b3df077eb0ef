#include "SPW_CNetworkInfoPosix.h"

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "KernelLinks.h"
#include "NeedsNamespaces.h"
#include "OwnNetwork.h"
#include "SPW_CSysError.h"
#include "TemporaryFolder.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// A device with one Ethernet adapter, "eth0", 10.1.2.3/24, whose files are the test's own.
class NetworkInfoPosixTest : public testing::Test {
protected:
    void SetUp() override {
        SKIP_OUTSIDE_NAMESPACES(m_network.isThere(), m_network.reason());
        KernelLinks links;
        ASSERT_TRUE(links.addVethPair("eth0", "far")) << links.reason();
        ASSERT_TRUE(links.addAddress("eth0", "10.1.2.3", 24)) << links.reason();
    }
    void write(const std::string& path, const std::string& content) {
        std::filesystem::create_directories((m_folder.native() / path).parent_path());
        m_folder.write(path, content);
    }
    const SPW_NetworkParameters& network() {
        std::uint32_t size = 0;
        EXPECT_EQ(m_info.networkParameters(nullptr, size), kSysBufferOverflow);
        m_bytes = std::make_unique<char[]>(size);
        EXPECT_EQ(m_info.networkParameters(reinterpret_cast<SPW_NetworkParameters*>(m_bytes.get()), size), kSysOk);
        return *reinterpret_cast<SPW_NetworkParameters*>(m_bytes.get());
    }
    const SPW_AdapterRecord& eth0() {
        std::uint32_t size = 0;
        EXPECT_EQ(m_info.adapters(nullptr, size), kSysBufferOverflow);
        m_bytes = std::make_unique<char[]>(size);
        auto* record = reinterpret_cast<SPW_AdapterRecord*>(m_bytes.get());
        EXPECT_EQ(m_info.adapters(record, size), kSysOk);
        while (std::string(record->adapterName) != "eth0") {
            record = record->next;
        }
        return *record;
    }
    static std::vector<std::string> textsOf(const SPW_AddressNode* node) {
        std::vector<std::string> texts;
        for (; node != nullptr; node = node->next) {
            if (node->address[0] != 0) {
                texts.emplace_back(node->address);
                EXPECT_STREQ(node->mask, "");
            }
        }
        return texts;
    }

    OwnNetwork m_network;
    TemporaryFolder m_folder;
    const std::string m_root = m_folder.native().string();
    SPW_CNetworkInfoPosix m_info{m_root.c_str()};
    std::unique_ptr<char[]> m_bytes;
};

TEST_F(NetworkInfoPosixTest, WithoutItsFilesADeviceHasNoServersAndNoFlags) {
    const SPW_NetworkParameters& record = network();
    char name[256] = "";
    ASSERT_EQ(::gethostname(name, sizeof name), 0);
    EXPECT_EQ(std::string(record.hostName), std::string(name).substr(0, sizeof record.hostName - 1));
    EXPECT_EQ(record.currentDnsServer, nullptr);
    EXPECT_THAT(textsOf(&record.dnsServerList), IsEmpty());
    EXPECT_STREQ(record.scopeId, "");
    EXPECT_EQ(record.nodeType, 0u);
    EXPECT_EQ(record.enableRouting, 0u);
    EXPECT_EQ(record.enableProxy, 0u);
    EXPECT_EQ(record.enableDns, 0u);
}

TEST_F(NetworkInfoPosixTest, TheResolversServersAreTheDevicesTheFirstIsTheCurrentOne) {
    write("etc/resolv.conf", "search office.test lab.test\nnameserver 10.0.0.53\nnameserver 10.0.0.54\n");
    const SPW_NetworkParameters& record = network();
    EXPECT_STREQ(record.domainName, "office.test");
    EXPECT_THAT(textsOf(record.currentDnsServer), ElementsAre("10.0.0.53"));
    EXPECT_THAT(textsOf(&record.dnsServerList), ElementsAre("10.0.0.53", "10.0.0.54"));
    EXPECT_EQ(record.enableDns, 1u);
}

TEST_F(NetworkInfoPosixTest, BehindAStubStandTheServersOfTheService) {
    write("etc/resolv.conf", "nameserver 127.0.0.53\n");
    EXPECT_THAT(textsOf(&network().dnsServerList), ElementsAre("127.0.0.53")) << "nobody knows better";
    write("run/NetworkManager/no-stub-resolv.conf", "nameserver 10.0.0.55\n");
    EXPECT_THAT(textsOf(&network().dnsServerList), ElementsAre("10.0.0.55"));
    write("run/systemd/resolve/resolv.conf", "nameserver 10.0.0.54\nsearch lab.test\n");
    EXPECT_THAT(textsOf(&network().dnsServerList), ElementsAre("10.0.0.54"));
    EXPECT_STREQ(network().domainName, "lab.test");
    write("etc/resolv.conf", "nameserver 127.0.0.53\nsearch office.test\n");
    EXPECT_STREQ(network().domainName, "office.test");
    write("etc/resolv.conf", "nameserver 127.0.0.53\nnameserver 10.0.0.1\n");
    EXPECT_THAT(textsOf(&network().dnsServerList), ElementsAre("127.0.0.53", "10.0.0.1")) << "not only a stub";
}

TEST_F(NetworkInfoPosixTest, AServiceThatHasNoServerIsNotItsOwnServer) {
    write("etc/resolv.conf", "nameserver 127.0.0.53\nsearch office.test\n");
    write("run/NetworkManager/no-stub-resolv.conf", "nameserver 10.0.0.55\n");
    write("run/systemd/resolve/resolv.conf", "# nobody to ask\nsearch lab.test\n");
    EXPECT_THAT(textsOf(&network().dnsServerList), IsEmpty());
    EXPECT_EQ(network().currentDnsServer, nullptr);
    EXPECT_EQ(network().enableDns, 0u);
    EXPECT_STREQ(network().domainName, "office.test");
    write("run/systemd/resolve/resolv.conf", "nameserver 2001:db8::53\n");
    EXPECT_THAT(textsOf(&network().dnsServerList), IsEmpty());
    EXPECT_EQ(network().enableDns, 1u) << "one of the other family";
    write("etc/resolv.conf", "nameserver 127.0.0.1\n");
    write("run/NetworkManager/no-stub-resolv.conf", "");
    EXPECT_THAT(textsOf(&network().dnsServerList), IsEmpty());
    EXPECT_EQ(network().enableDns, 0u);
}

TEST_F(NetworkInfoPosixTest, OnlySystemdsStubAsksSystemdsServers) {
    write("etc/resolv.conf", "nameserver 127.0.0.1\n");
    write("run/systemd/resolve/resolv.conf", "nameserver 10.0.0.54\n");
    EXPECT_THAT(textsOf(&network().dnsServerList), ElementsAre("127.0.0.1")) << "a name server of the device's own";
    write("run/NetworkManager/no-stub-resolv.conf", "nameserver 10.0.0.55\n");
    EXPECT_THAT(textsOf(&network().dnsServerList), ElementsAre("10.0.0.55")) << "dnsmasq";
}

TEST_F(NetworkInfoPosixTest, OfAnEndlessResolverFileNoHalfOfALineCounts) {
    const std::string line = "nameserver 10.0.0.53\n";
    std::string file = line;
    file += "#" + std::string((1 << 20) - 2 * line.size(), 'x') + "\n";
    write("etc/resolv.conf", file + line + line);  // the limit cuts off the last digit
    EXPECT_THAT(textsOf(&network().dnsServerList), ElementsAre("10.0.0.53"));
}

TEST_F(NetworkInfoPosixTest, WithoutADomainTheHostNamesOwnOneCounts) {
    // The thread takes its host name with it when it ends.
    std::thread([this] {
        ASSERT_EQ(::unshare(CLONE_NEWUTS), 0);
        for (const char* const name : {"pocket.lab.test", "pocket", "pocket."}) {
            ASSERT_EQ(::sethostname(name, std::strlen(name)), 0);
            EXPECT_STREQ(network().hostName, name);
            EXPECT_STREQ(network().domainName, std::string(name) == "pocket.lab.test" ? "lab.test" : "") << name;
        }
        write("etc/resolv.conf", "search office.test\n");
        EXPECT_STREQ(network().domainName, "office.test");
    }).join();
}

TEST_F(NetworkInfoPosixTest, AKernelThatCannotBeAskedIsAFailure) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    std::uint32_t size = 0;
    const SPW_Result adapters = m_info.adapters(nullptr, size);
    const SPW_Result parameters = m_info.networkParameters(nullptr, size);
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(adapters, kSysTooManyOpenFiles);
    EXPECT_EQ(parameters, kSysTooManyOpenFiles);
    EXPECT_EQ(size, 0u);
}

TEST_F(NetworkInfoPosixTest, AServerOfTheOtherFamilyAloneStillIsDns) {
    write("etc/resolv.conf", "nameserver 2001:db8::53\n");
    EXPECT_EQ(network().enableDns, 1u);
    EXPECT_THAT(textsOf(&network().dnsServerList), IsEmpty());
}

TEST_F(NetworkInfoPosixTest, FlagsAreSetForAllLinksOrForOne) {
    write("proc/sys/net/ipv4/conf/all/forwarding", "1\n");
    write("proc/sys/net/ipv4/conf/eth0/proxy_arp", "1\n");
    EXPECT_EQ(network().enableRouting, 1u);
    EXPECT_EQ(network().enableProxy, 1u);
    write("proc/sys/net/ipv4/conf/all/forwarding", "0\n");
    write("proc/sys/net/ipv4/conf/eth0/proxy_arp", "0\n");
    write("proc/sys/net/ipv4/conf/default/proxy_arp", "1\n");
    EXPECT_EQ(network().enableRouting, 0u);
    EXPECT_EQ(network().enableProxy, 0u);
}

TEST_F(NetworkInfoPosixTest, ADomainThatIsTooLongIsCutBetweenTwoCharacters) {
    write("etc/resolv.conf", "domain " + std::string(130, 'x') + "\xC3\xA4\n");
    EXPECT_EQ(std::string(network().domainName), std::string(130, 'x'));
    write("etc/resolv.conf", "domain " + std::string(131, 'x') + "\n");
    EXPECT_EQ(std::string(network().domainName), std::string(131, 'x'));
}

TEST_F(NetworkInfoPosixTest, AnAdapterHasItsDriversNameAndItsAddress) {
    const SPW_AdapterRecord& record = eth0();
    EXPECT_STREQ(record.description, "veth");
    EXPECT_EQ(record.type, 6u);
    EXPECT_EQ(record.addressLength, 6u);
    EXPECT_STREQ(record.ipAddressList.address, "10.1.2.3");
    EXPECT_STREQ(record.ipAddressList.mask, "255.255.255.0");
    EXPECT_EQ(record.dhcpEnabled, 0u);
    EXPECT_EQ(record.haveWins, 0);
}

TEST_F(NetworkInfoPosixTest, ALeaseOfTheAdaptersAddressMakesItADhcpAdapter) {
    write("var/lib/dhcp/dhclient.leases",
          "lease { interface \"eth0\"; fixed-address 10.1.2.3; option dhcp-server-identifier 10.1.2.1;"
          " option dhcp-lease-time 600; expire epoch 1700000000; }");
    const SPW_AdapterRecord& record = eth0();
    EXPECT_EQ(record.dhcpEnabled, 1u);
    EXPECT_STREQ(record.dhcpServer.address, "10.1.2.1");
    EXPECT_EQ(record.leaseObtained, 1700000000 - 600);
    EXPECT_EQ(record.leaseExpires, 1700000000);
    EXPECT_NE(network().nodeType, 0u) << "what the report takes for the use of DHCP";
}

TEST_F(NetworkInfoPosixTest, AWirelessDeviceIsOneOnlyUnderItsOwnIndex) {
    const std::string index = std::to_string(::if_nametoindex("eth0"));
    write("sys/class/net/eth0/uevent", "DEVTYPE=wlan\nINTERFACE=eth0\nIFINDEX=" + index + "\n");
    EXPECT_EQ(eth0().type, 71u);
    write("sys/class/net/eth0/uevent", "DEVTYPE=wlan\nINTERFACE=eth0\nIFINDEX=4711\n");
    EXPECT_EQ(eth0().type, 6u) << "the same name in another network";
    write("sys/class/net/eth0/uevent", "DEVTYPE=wwan\nINTERFACE=eth0\nIFINDEX=" + index + "\n");
    EXPECT_EQ(eth0().type, 243u);
    write("sys/class/net/eth0/uevent", "INTERFACE=eth0\nIFINDEX=" + index + "\n");
    EXPECT_EQ(eth0().type, 6u);
}

}  // namespace
