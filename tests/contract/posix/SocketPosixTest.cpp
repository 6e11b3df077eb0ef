// What the sockets of this platform alone promise, and what only the kernel can show of them.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "KernelCalls.h"
#include "NeedsNamespaces.h"
#include "OwnNetwork.h"
#include "Patience.h"
#include "RealSockets.h"
#include "SPW_CSocket.h"
#include "SPW_CSocketWatch.h"
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
    // Of all kinds.
    static std::ptrdiff_t countDescriptors() {
        const std::filesystem::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    }
    // The descriptor that the call opens.
    template <typename Open>
    static int descriptorOf(Open open) {
        const std::set<int> before = descriptors();
        open();
        for (const int descriptor : descriptors()) {
            if (before.count(descriptor) == 0) {
                return descriptor;
            }
        }
        ADD_FAILURE() << "no socket was opened";
        return -1;
    }
    static int option(int descriptor, int level, int name) {
        int value = -1;
        socklen_t size = sizeof value;
        EXPECT_EQ(::getsockopt(descriptor, level, name, &value, &size), 0);
        return value;
    }
    static bool hasAddressReuse(int descriptor) { return option(descriptor, SOL_SOCKET, SO_REUSEADDR) != 0; }
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

TEST_F(SocketPosixTest, WithoutDescriptorsAWatchSelects) {
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    rlimit none = limit;
    none.rlim_cur = 0;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const std::unique_ptr<SPW_CSocketWatch> watch = s().openWatch();
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    const SPW_Socket quiet = boundUdp();
    const SPW_Socket receiver = boundUdp();
    ASSERT_TRUE(watch->add(quiet));
    ASSERT_TRUE(watch->add(receiver));
    EXPECT_EQ(sendTo(udp(), portOf(receiver), "x"), 1);
    SPW_CSocketSet ready;
    EXPECT_EQ(watch->wait(ready), 0u);
    EXPECT_EQ(ready.size(), 1);
    EXPECT_TRUE(ready.contains(receiver));
    ASSERT_EQ(s().close(quiet), 0);
    EXPECT_EQ(watch->wait(ready), kSockNotSocket);
}

// The kernel limits how many descriptors a user's watches hold in all, and it may lack the memory for one more.
TEST_F(SocketPosixTest, AWatchForWhichTheKernelHasNoMoreRoomSelectsFromThenOn) {
    for (const int refusal : {ENOSPC, ENOMEM}) {
        const SPW_Socket closedBefore = boundUdp();
        const SPW_Socket receiver = boundUdp();
        const SPW_Socket refused = boundUdp();
        const SPW_Socket closedAfter = boundUdp();
        const std::unique_ptr<SPW_CSocketWatch> watch = s().openWatch();
        for (const SPW_Socket socket : {closedBefore, receiver, closedAfter}) {
            ASSERT_TRUE(watch->add(socket));
        }
        ASSERT_EQ(s().close(closedBefore), 0);
        const std::ptrdiff_t before = countDescriptors();
        {
            KernelCalls kernel;
            kernel.watchRefusal = [refusal] { return refusal; };
            ASSERT_TRUE(watch->add(refused));
        }
        EXPECT_LT(countDescriptors(), before) << "it still has the kernel's watch";
        SPW_CSocketSet ready;
        EXPECT_EQ(watch->wait(ready), kSockNotSocket);
        EXPECT_TRUE(watch->remove(closedBefore));
        EXPECT_EQ(sendTo(udp(), portOf(refused), "x"), 1);
        EXPECT_EQ(sendTo(udp(), portOf(receiver), "x"), 1);
        EXPECT_EQ(watch->wait(ready), 0u);
        EXPECT_EQ(ready.size(), 2);
        EXPECT_EQ(receiveFrom(refused), "x");
        EXPECT_EQ(receiveFrom(receiver), "x");
        const auto end = closeDuring(
            closedAfter, [&] { return watch->wait(ready) == 0 ? 0 : -1; }, milliseconds(20));
        EXPECT_EQ(end.result, -1) << "a close wakes the wait";
        EXPECT_TRUE(watch->remove(closedAfter));
        EXPECT_TRUE(watch->remove(refused));
        EXPECT_EQ(sendTo(udp(), portOf(receiver), "x"), 1);
        EXPECT_EQ(watch->wait(ready), 0u);
        EXPECT_EQ(ready.size(), 1);
        EXPECT_TRUE(ready.contains(receiver));
    }
}

TEST_F(SocketPosixTest, AWatchGivesItsDescriptorsBack) {
    const std::ptrdiff_t before = countDescriptors();
    std::unique_ptr<SPW_CSocketWatch> watch = s().openWatch();
    EXPECT_GT(countDescriptors(), before);
    watch.reset();
    EXPECT_EQ(countDescriptors(), before);
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
    const SPW_Socket watchedOn = boundUdp();
    const std::unique_ptr<SPW_CSocketWatch> watch = s().openWatch();
    ASSERT_TRUE(watch->add(watchedOn));
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
    threads.emplace_back([&] {
        SPW_CSocketSet ready;
        EXPECT_EQ(watch->wait(ready), 0u);
        EXPECT_TRUE(ready.contains(watchedOn));
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
    EXPECT_EQ(sendTo(sender, portOf(watchedOn), "x"), 1);
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

// ---- Options ----

TEST_F(SocketPosixTest, AddressReuseIsOnForTcpListenersAndSharedSocketsAndForNothingElse) {
    SPW_Socket listening = kInvalidSocket;
    const int listener = descriptorOf([&] { listening = keep(s().openTcp()); });
    EXPECT_FALSE(hasAddressReuse(listener)) << "nobody knows yet that it will listen";
    ASSERT_EQ(s().bind(listening, 0), 0);
    EXPECT_FALSE(hasAddressReuse(listener)) << "it may be a connector's, which has no port of its own";
    ASSERT_EQ(s().listen(listening, 5), 0);
    EXPECT_TRUE(hasAddressReuse(listener));

    SPW_Socket connecting = kInvalidSocket;
    const int connector = descriptorOf([&] { connecting = keep(s().openTcp()); });
    ASSERT_EQ(s().bind(connecting, 0), 0);
    ASSERT_EQ(s().connect(connecting, kLoopback, portOf(listening)), 0);
    EXPECT_FALSE(hasAddressReuse(connector));

    SPW_Socket datagrams = kInvalidSocket;
    const int udp = descriptorOf([&] { datagrams = keep(s().openUdp()); });
    ASSERT_EQ(s().bind(datagrams, 0), 0);
    const std::uint16_t port = portOf(datagrams);
    ASSERT_EQ(s().close(datagrams), 0);
    const int bound = descriptorOf([&] { datagrams = keep(s().openUdp()); });
    ASSERT_EQ(s().bind(datagrams, port), 0);
    EXPECT_FALSE(hasAddressReuse(bound)) << udp;

    EXPECT_TRUE(hasAddressReuse(descriptorOf([&] { (void)keep(s().openUdpShared()); })));
}

TEST_F(SocketPosixTest, AConnectionThatLosesItsFarEndIsGivenUpAfterHalfAMinute) {
    const SPW_Socket listening = listener();
    SPW_Socket connecting = kInvalidSocket;
    const int client = descriptorOf([&] { connecting = tcp(); });
    ASSERT_EQ(s().connect(connecting, kLoopback, portOf(listening)), 0);
    const int server = descriptorOf([&] { (void)accept(listening); });
    // The side that sends waits for the acknowledgement of what it sent.
    EXPECT_EQ(option(client, IPPROTO_TCP, TCP_USER_TIMEOUT), 30000);
    EXPECT_EQ(option(client, SOL_SOCKET, SO_KEEPALIVE), 0) << "a connector adds no packets of its own";
    // The side that only listens asks.
    EXPECT_NE(option(server, SOL_SOCKET, SO_KEEPALIVE), 0);
    EXPECT_EQ(option(server, IPPROTO_TCP, TCP_KEEPIDLE) +
                  option(server, IPPROTO_TCP, TCP_KEEPINTVL) * option(server, IPPROTO_TCP, TCP_KEEPCNT),
              30);
}

// From now on nothing that comes for the socket reaches it, and nobody is told.
void makeDeaf(int descriptor) {
    sock_filter takeNothing{BPF_RET | BPF_K, 0, 0, 0};
    const sock_fprog filter{1, &takeNothing};
    ASSERT_EQ(::setsockopt(descriptor, SOL_SOCKET, SO_ATTACH_FILTER, &filter, sizeof filter), 0);
}

void makeHearing(int descriptor) {
    const int unused = 0;
    ASSERT_EQ(::setsockopt(descriptor, SOL_SOCKET, SO_DETACH_FILTER, &unused, sizeof unused), 0);
}

TEST_F(SocketPosixTest, AConnectionTellsWhatItsFarEndHasLeftWithoutAnAnswer) {
    const SPW_Socket listening = listener();
    const SPW_Socket client = tcp();
    SPW_Socket server = kInvalidSocket;
    ASSERT_EQ(s().connect(client, kLoopback, portOf(listening)), 0);
    const int descriptor = descriptorOf([&] { server = accept(listening); });
    SPW_Unanswered unanswered;
    const auto ask = [&] {
        EXPECT_TRUE(s().tellUnanswered(client, unanswered));
        return unanswered;
    };
    ASSERT_EQ(send(client, "answered"), 8);
    ASSERT_TRUE(isReadable(server));
    EXPECT_TRUE(soon([&] { return ask().packets == 0; }));
    EXPECT_EQ(unanswered.timeouts, 0u);
    makeDeaf(descriptor);
    ASSERT_EQ(send(client, "lost"), 4);
    EXPECT_TRUE(soon([&] { return ask().packets == 1 && unanswered.timeouts >= 2; }));
    EXPECT_GE(unanswered.sinceAnswerMs, 200u) << "the kernel's shortest time-out";
    makeHearing(descriptor);
    EXPECT_TRUE(soon([&] { return ask().packets == 0; }));
    EXPECT_EQ(unanswered.timeouts, 0u);
    ASSERT_EQ(s().close(server), 0);
    EXPECT_TRUE(soon([&] { return send(client, "to nobody") == -1; }));
    EXPECT_FALSE(s().tellUnanswered(client, unanswered)) << "it has ended";
}

TEST_F(SocketPosixTest, WhereGroupsCannotBeToldApartOnlyASharedSocketCannotBeHad) {
    KernelCalls kernel;
    kernel.refusesOption = [](int level, int option) { return level == IPPROTO_IP && option == IP_MULTICAST_ALL; };
    const SPW_Socket receiver = boundUdp();
    EXPECT_EQ(sendTo(udp(), portOf(receiver), "x"), 1);
    EXPECT_EQ(receiveFrom(receiver), "x");
    EXPECT_EQ(s().openUdpShared(), kInvalidSocket);
    EXPECT_EQ(s().lastError(), kSockNoProtocolOption);
}

// ---- A close in the moment before a wait ----

TEST_F(SocketPosixTest, AConnectWhoseSocketIsClosedJustBeforeItsWaitEndsAtOnce) {
    const auto [address, port] = m_implementation.silentTarget();
    const SPW_Socket socket = tcp();
    KernelCalls kernel;
    // By now the call has found the socket open.
    kernel.beforeConnect = [&] { EXPECT_EQ(s().close(socket), 0); };
    const std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
    const Failure end = outcome(s().connect(socket, address, port));
    EXPECT_EQ(end.result, -1);
    EXPECT_EQ(end.code, kSockNotSocket);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, kConnectTimeOut) << "it has ended by itself";
}

TEST_F(SocketPosixTest, AnAcceptWhoseSocketIsClosedJustBeforeItsWaitEndsAtOnce) {
    const SPW_Socket listening = listener();
    KernelCalls kernel;
    kernel.beforeAccept = [&] { EXPECT_EQ(s().close(listening), 0); };
    SPW_CIpAddress peer;
    EXPECT_EQ(s().accept(listening, peer), kInvalidSocket);
    EXPECT_EQ(s().lastError(), kSockNotSocket);
}

TEST_F(SocketPosixTest, AConnectionAcceptedFromASocketThatIsClosedMeanwhileIsGivenBack) {
    const SPW_Socket listening = listener();
    const SPW_Socket client = tcp();
    ASSERT_EQ(s().connect(client, kLoopback, portOf(listening)), 0);
    const std::set<int> before = descriptors();
    KernelCalls kernel;
    kernel.afterAccept = [&] { EXPECT_EQ(s().close(listening), 0); };
    SPW_CIpAddress peer;
    EXPECT_EQ(s().accept(listening, peer), kInvalidSocket);
    EXPECT_EQ(s().lastError(), kSockNotSocket);
    EXPECT_EQ(peer, SPW_CIpAddress());
    EXPECT_EQ(descriptors().size(), before.size() - 1) << "the listening socket has gone and nothing has come";
    EXPECT_EQ(receive(client), 0);
}

// ---- Groups ----

TEST_F(SocketPosixTest, AMembershipIsLeftThoughItsInterfaceHasComeBackAsAnother) {
    OwnNetwork network;
    SKIP_OUTSIDE_NAMESPACES(network.isThere(), network.reason());
    constexpr SPW_CIpAddress kAddress(10, 79, 0, 1);
    const SPW_Socket member = keep(s().openUdpShared());
    // One more than a socket may have.
    for (int i = 0; i <= 20; ++i) {
        ASSERT_TRUE(network.replaceInterface("pair0", "10.79.0.1/24")) << network.reason();
        ASSERT_EQ(s().joinGroup(member, kGroup, kAddress), 0) << "after " << i << ": " << s().lastError();
        ASSERT_TRUE(network.replaceInterface("pair0", "10.79.0.1/24")) << network.reason();
        ASSERT_EQ(s().dropGroup(member, kGroup, kAddress), 0) << "after " << i << ": " << s().lastError();
    }
}

TEST_F(SocketPosixTest, AMembershipIsLeftThoughItsAddressIsOnAnotherInterfaceNow) {
    OwnNetwork network;
    SKIP_OUTSIDE_NAMESPACES(network.isThere(), network.reason());
    constexpr SPW_CIpAddress kAddress(10, 79, 0, 1);
    const SPW_Socket member = keep(s().openUdpShared());
    ASSERT_TRUE(network.replaceInterface("pair0", "10.79.0.1/24")) << network.reason();
    ASSERT_TRUE(network.replaceInterface("pair1", "10.79.1.1/24")) << network.reason();
    ASSERT_EQ(s().joinGroup(member, kGroup, kAddress), 0) << s().lastError();
    ASSERT_TRUE(network.runIp("address del 10.79.0.1/24 dev pair0"));
    ASSERT_TRUE(network.runIp("address add 10.79.0.1/24 dev pair1"));
    EXPECT_EQ(s().dropGroup(member, kGroup, kAddress), 0) << s().lastError();
    ASSERT_EQ(s().joinGroup(member, kGroup, kAddress), 0) << s().lastError();
    // The other address of that interface finds it joined.
    EXPECT_EQ(s().joinGroup(member, kGroup, SPW_CIpAddress(10, 79, 1, 1)), -1);
    EXPECT_EQ(s().lastError(), kSockAddressInUse);
}

TEST_F(SocketPosixTest, OnlyInterfacesThatAreUpGiveAddressesToTheDevicesName) {
    OwnNetwork network;
    SKIP_OUTSIDE_NAMESPACES(network.isThere(), network.reason());
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
    SKIP_OUTSIDE_NAMESPACES(network.isThere(),
                            network.reason() + ", and outside of one the question would leave this machine");
    SPW_CArray<SPW_CIpAddress> addresses;
    EXPECT_FALSE(s().resolve(u"nobody.invalid", addresses));
    EXPECT_EQ(s().lastError(), kSockHostNotFound);
    EXPECT_FALSE(s().resolve(u"", addresses));
    EXPECT_EQ(addresses.numberOfElements(), 0);
}

TEST_F(SocketPosixTest, TheLoopbackHasItsNameFromTheHostsFile) {
    OwnNetwork network;
    SKIP_OUTSIDE_NAMESPACES(network.isThere(),
                            network.reason() + ", and outside of one the question might leave this machine");
    SPW_CArray<SPW_CIpAddress> addresses;
    ASSERT_TRUE(s().resolve(u"localhost", addresses)) << s().lastError();
    ASSERT_EQ(addresses.numberOfElements(), 1);
    EXPECT_EQ(addresses[0], kLoopback);
}

TEST_F(SocketPosixTest, WithoutARouteNothingIsReached) {
    OwnNetwork network;
    SKIP_OUTSIDE_NAMESPACES(network.isThere(), network.reason());
    EXPECT_EQ(s().connect(tcp(), kForeign, 5009), -1);
    EXPECT_EQ(s().lastError(), kSockNetUnreachable);
    EXPECT_EQ(s().sendTo(udp(), kForeign, 5009, "x", 1), -1);
    EXPECT_EQ(s().lastError(), kSockNetUnreachable);
}

}  // namespace
