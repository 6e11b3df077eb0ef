// What the sockets of this platform alone promise, and what only the kernel can show of them.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "OwnNetwork.h"
#include "Patience.h"
#include "RealSockets.h"
#include "SPW_CSocket.h"
#include "SPW_CSysError.h"
#include "SocketContract.h"

namespace {

class SocketPosixTest : public SocketContractTest<RealSockets> {
protected:
    // The descriptors of this process that are sockets.
    static std::set<int> descriptors() {
        std::set<int> open;
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code gone;  // the folder's own descriptor
            if (std::filesystem::read_symlink(entry, gone).string().rfind("socket:", 0) == 0) {
                open.insert(std::stoi(entry.path().filename()));
            }
        }
        return open;
    }
};

TEST_F(SocketPosixTest, CloseGivesTheDescriptorBack) {
    const std::set<int> before = descriptors();
    for (int i = 0; i < 10; ++i) {
        const SPW_Socket listening = listener();
        const auto [client, server] = connectionTo(listening);
        const SPW_Socket datagrams = boundUdp();
        (void)closeDuring(
            datagrams, [&, socket = datagrams] { return isReadable(socket, kSPWForever) ? 0 : -1; }, milliseconds(1));
        ASSERT_EQ(s().close(listening), 0);
        ASSERT_EQ(s().close(client), 0);
        ASSERT_EQ(s().close(server), 0);
    }
    EXPECT_EQ(descriptors(), before);
}

TEST_F(SocketPosixTest, NoDescriptorIsInheritedByAProgramThatIsStarted) {
    const std::set<int> before = descriptors();
    const SPW_Socket listening = listener();
    (void)connectionTo(listening);
    (void)udp();
    (void)keep(s().openUdpShared());
    int checked = 0;
    for (const int descriptor : descriptors()) {
        if (before.count(descriptor) == 0) {
            EXPECT_TRUE((::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0) << descriptor;
            ++checked;
        }
    }
    EXPECT_EQ(checked, 5);
}

TEST_F(SocketPosixTest, SelectKnowsNoHighestDescriptor) {
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = limit.rlim_max;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    if (limit.rlim_max < 1200) {
        GTEST_SKIP() << "only " << limit.rlim_max << " descriptors may be open here";
    }
    std::vector<int> fillers;
    while (fillers.empty() || fillers.back() < 1100) {
        fillers.push_back(::dup(0));
        ASSERT_NE(fillers.back(), -1);
    }
    const SPW_Socket receiver = boundUdp();
    EXPECT_EQ(sendTo(udp(), portOf(receiver), "x"), 1);
    EXPECT_TRUE(isReadable(receiver));
    EXPECT_EQ(receiveFrom(receiver), "x");
    for (const int filler : fillers) {
        ::close(filler);
    }
}

TEST_F(SocketPosixTest, WithoutDescriptorsThereIsNoSocket) {
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    rlimit none = limit;
    none.rlim_cur = 0;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const SPW_Socket socket = s().openTcp();
    const SPW_Result code = s().lastError();
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(socket, kInvalidSocket);
    EXPECT_EQ(code, kSockTooManyFiles);
}

TEST_F(SocketPosixTest, AConnectionThatFindsNoDescriptorWaitsForTheNextAccept) {
    const SPW_Socket listening = listener();
    ASSERT_EQ(s().connect(tcp(), kLoopback, portOf(listening)), 0);
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    rlimit none = limit;
    none.rlim_cur = 0;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    SPW_CIpAddress peer;
    const SPW_Socket refused = s().accept(listening, peer);
    const SPW_Result code = s().lastError();
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    EXPECT_EQ(refused, kInvalidSocket);
    EXPECT_EQ(code, kSockTooManyFiles);
    EXPECT_EQ(peer, SPW_CIpAddress());
    (void)keep(s().accept(listening, peer));
    EXPECT_EQ(peer, kLoopback);
}

TEST_F(SocketPosixTest, ASignalEndsNoWait) {
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);
    const SPW_Socket receiver = boundUdp();
    const SPW_Socket watched = boundUdp();
    const SPW_Socket listening = listener();
    std::vector<std::thread> threads;
    std::atomic<int> ended{0};
    threads.emplace_back([&] {
        EXPECT_EQ(receiveFrom(receiver), "x");
        ++ended;
    });
    threads.emplace_back([&] {
        EXPECT_TRUE(isReadable(watched, kPatienceMs));
        ++ended;
    });
    threads.emplace_back([&] {
        (void)accept(listening);
        ++ended;
    });
    for (int i = 0; i < 10; ++i) {
        std::this_thread::sleep_for(milliseconds(5));
        for (std::thread& thread : threads) {
            (void)::pthread_kill(thread.native_handle(), SIGUSR1);
        }
    }
    EXPECT_EQ(ended, 0);
    const SPW_Socket sender = s().openUdp();
    EXPECT_EQ(sendTo(sender, portOf(receiver), "x"), 1);
    EXPECT_EQ(sendTo(sender, portOf(watched), "x"), 1);
    const SPW_Socket client = s().openTcp();
    EXPECT_EQ(s().connect(client, kLoopback, portOf(listening)), 0);
    for (std::thread& thread : threads) {
        thread.join();
    }
    (void)s().close(sender);
    (void)s().close(client);
    ASSERT_EQ(::sigaction(SIGUSR1, &before, nullptr), 0);
}

TEST_F(SocketPosixTest, TheTimeToLiveIsLeftToTheKernel) {
    const SPW_Socket socket = udp();
    EXPECT_EQ(s().setMulticastTtl(socket, 256), -1);
    EXPECT_EQ(s().lastError(), kSockInvalid);
    EXPECT_EQ(s().setMulticastTtl(socket, -1), 0) << "the kernel's own default";
}

TEST_F(SocketPosixTest, OnlyInterfacesThatAreUpGiveAddressesToTheDevicesName) {
    OwnNetwork network;
    if (!network.isThere()) {
        GTEST_SKIP() << network.reason();
    }
    SPW_CString name;
    ASSERT_TRUE(s().hostName(name));
    SPW_CArray<SPW_CIpAddress> up;
    EXPECT_TRUE(s().resolve(name, up));
    ASSERT_EQ(up.numberOfElements(), 1);
    EXPECT_EQ(up[0], kLoopback);
    ASSERT_TRUE(network.setLoopback(false)) << network.reason();
    SPW_CArray<SPW_CIpAddress> down;
    EXPECT_FALSE(s().resolve(name, down));
    EXPECT_EQ(s().lastError(), kSockHostNotFound);
    EXPECT_EQ(down.numberOfElements(), 0);
}

TEST_F(SocketPosixTest, ANameThatNobodyKnowsDoesNotResolve) {
    OwnNetwork network;
    if (!network.isThere()) {
        GTEST_SKIP() << network.reason() << ", and outside of one the question would leave this machine";
    }
    SPW_CArray<SPW_CIpAddress> addresses;
    EXPECT_FALSE(s().resolve(u"nobody.invalid", addresses));
    EXPECT_EQ(s().lastError(), kSockHostNotFound);
    EXPECT_FALSE(s().resolve(u"", addresses));
    EXPECT_EQ(addresses.numberOfElements(), 0);
}

TEST_F(SocketPosixTest, TheLoopbackHasItsNameFromTheHostsFile) {
    OwnNetwork network;
    if (!network.isThere()) {
        GTEST_SKIP() << network.reason() << ", and outside of one the question might leave this machine";
    }
    SPW_CArray<SPW_CIpAddress> addresses;
    ASSERT_TRUE(s().resolve(u"localhost", addresses)) << s().lastError();
    ASSERT_EQ(addresses.numberOfElements(), 1);
    EXPECT_EQ(addresses[0], kLoopback);
}

TEST_F(SocketPosixTest, WithoutARouteNothingIsReached) {
    OwnNetwork network;
    if (!network.isThere()) {
        GTEST_SKIP() << network.reason();
    }
    EXPECT_EQ(s().connect(tcp(), kForeign, 5009), -1);
    EXPECT_EQ(s().lastError(), kSockNetUnreachable);
    EXPECT_EQ(s().sendTo(udp(), kForeign, 5009, "x", 1), -1);
    EXPECT_EQ(s().lastError(), kSockNetUnreachable);
}

}  // namespace
