#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "IcmpContract.h"
#include "IcmpServices.h"
#include "Patience.h"
#include "SPW_CIcmp.h"
#include "SPW_CSysError.h"
#include "ScriptedIcmp.h"

// What SPW_CIcmp.h promises, shown on the platform's echo service, with and without privileges where that matters, and
// on the scripted one.

namespace {

class ScriptedService {
public:
    static constexpr const char* kName = "Scripted";

    bool isThere() const { return true; }
    std::string reason() const { return {}; }
    SPW_CIcmp& icmp() { return m_icmp; }
    SPW_CIpAddress silentAddress() {
        m_icmp.setAnswers(kLoopback, false);
        return kLoopback;
    }
    static constexpr std::uint32_t kLeftEchoMs = kSPWForever;
    void waitForLeftEchoes() {}

private:
    ScriptedIcmp m_icmp;
};

using Services = IcmpServices<ScriptedService>;
TYPED_TEST_SUITE(IcmpContractTest, Services, ServiceNames);

TYPED_TEST(IcmpContractTest, AnAddressThatAnswersGivesOneReply) {
    EXPECT_EQ(this->echo().replies(), 1u) << this->icmp().lastError();
}

TYPED_TEST(IcmpContractTest, AnyNumberOfBytesIsAnswered) {
    for (const int size : {0, 1, 7, 8, 9, 100, 1472, 1473, 10000, 65507}) {
        EXPECT_EQ(this->echo().carryingBytes(size).replies(), 1u) << size << ": " << this->icmp().lastError();
    }
}

TYPED_TEST(IcmpContractTest, AReplyTellsItsTimeWhichIsNoLongerThanTheEcho) {
    for (int i = 0; i < 100; ++i) {
        const auto before = Time::now();
        const SPW_EchoReply reply = this->echo().reply();
        const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(Time::now() - before);
        ASSERT_EQ(reply.count, 1u);
        // Two clocks of the platform may count the same time as one microsecond more or less.
        ASSERT_LE(reply.roundTripUs, static_cast<std::uint64_t>(elapsed.count() + 1));
    }
}

TYPED_TEST(IcmpContractTest, AReplyTellsItsTimeToLive) {
    EXPECT_GE(this->echo().reply().timeToLive, 32);
}

TYPED_TEST(IcmpContractTest, NoReplyIsATimeOutAfterThatTime) {
    const SPW_CIpAddress silent = this->m_implementation.silentAddress();
    const auto before = Time::now();
    EXPECT_EQ(this->echo().to(silent).withinMs(80).replies(), 0u);
    EXPECT_EQ(this->icmp().lastError(), kIcmpTimedOut);
    const auto elapsed = Time::now() - before;
    EXPECT_GE(elapsed, milliseconds(80) - kTimerTick);
    EXPECT_LT(elapsed, kPatience);
}

TYPED_TEST(IcmpContractTest, NoTimeIsTheShortestTime) {
    const SPW_CIpAddress silent = this->m_implementation.silentAddress();
    const auto before = Time::now();
    EXPECT_EQ(this->echo().to(silent).withinMs(0).replies(), 0u);
    EXPECT_EQ(this->icmp().lastError(), kIcmpTimedOut);
    EXPECT_LT(Time::now() - before, kPatience);
}

TYPED_TEST(IcmpContractTest, WithoutALimitAReplyStillEndsTheWait) {
    EXPECT_EQ(this->echo().withinMs(kSPWForever).replies(), 1u);
}

TYPED_TEST(IcmpContractTest, AReplyBufferThatHoldsNoReplyIsRefused) {
    EXPECT_EQ(this->echo().carryingBytes(0).withReplyBytes(0).replies(), 0u);
    EXPECT_EQ(this->icmp().lastError(), kSysInsufficientBuffer);
    EXPECT_EQ(this->echo().carryingBytes(1).withReplyBytes(kSmallestIcmpReply - 1).replies(), 0u);
    EXPECT_EQ(this->icmp().lastError(), kSysInsufficientBuffer);
    EXPECT_EQ(this->echo().carryingBytes(1).withReplyBytes(kSmallestIcmpReply).replies(), 1u);
}

TYPED_TEST(IcmpContractTest, WithoutAServiceThereIsNoEcho) {
    EXPECT_EQ(Echo(this->icmp(), nullptr).replies(), 0u);
    EXPECT_EQ(this->icmp().lastError(), kSysInvalidHandle);
    this->icmp().close(nullptr);
}

TYPED_TEST(IcmpContractTest, EachThreadHasItsOwnLastError) {
    EXPECT_EQ(this->echo().withReplyBytes(0).replies(), 0u);
    std::thread other([this] { EXPECT_EQ(this->icmp().lastError(), kSysOk); });
    other.join();
    EXPECT_EQ(this->icmp().lastError(), kSysInsufficientBuffer);
}

TYPED_TEST(IcmpContractTest, ManyThreadsEchoThroughOneServiceAtOnce) {
    std::vector<std::thread> threads;
    std::atomic<int> replies{0};
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([this, &replies, i] {
            for (int n = 0; n < 50; ++n) {
                // Short ones have no room for a token.
                replies += static_cast<int>(this->echo().carryingBytes(i * 2).replies());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(replies, 16 * 50);
}

TYPED_TEST(IcmpContractTest, ManyServicesEchoAtOnceAndComeAndGo) {
    std::vector<std::thread> threads;
    std::atomic<int> replies{0};
    for (int i = 0; i < 16; ++i) {
        threads.emplace_back([this, &replies] {
            for (int n = 0; n < 25; ++n) {
                const SPW_Handle service = this->icmp().open();
                replies += static_cast<int>(Echo(this->icmp(), service).replies());
                this->icmp().close(service);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(replies, 16 * 25);
}

TYPED_TEST(IcmpContractTest, EchoesThatAreNotAnsweredEndEachAtItsOwnTime) {
    std::vector<std::thread> threads;
    std::atomic<int> timeouts{0};
    const SPW_CIpAddress silent = this->m_implementation.silentAddress();
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([this, &timeouts, &silent, i] {
            timeouts +=
                this->echo().to(silent).withinMs(static_cast<std::uint32_t>(20 + 10 * i)).replies() == 0 ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(timeouts, 8);
}

// ---- Cancel ----

TYPED_TEST(IcmpContractTest, ACancelEndsTheEchoesUnderWayAtOnce) {
    const SPW_CIpAddress silent = this->m_implementation.silentAddress();
    std::vector<std::thread> threads;
    std::atomic<int> cancelled{0};
    const auto before = Time::now();
    // One of several threads is the one that looks after the replies of all.
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, &cancelled, &silent] {
            EXPECT_EQ(this->echo().to(silent).withinMs(TypeParam::kLeftEchoMs).replies(), 0u);
            cancelled += this->icmp().lastError() == kSysOperationAborted ? 1 : 0;
        });
    }
    std::this_thread::sleep_for(milliseconds(50));
    this->icmp().cancel(this->m_service);
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(cancelled, 4);
    EXPECT_LT(Time::now() - before, kPatience);
    this->m_implementation.waitForLeftEchoes();
}

TYPED_TEST(IcmpContractTest, AnEchoAfterTheCancelIsNotSent) {
    this->icmp().cancel(this->m_service);
    EXPECT_EQ(this->echo().replies(), 0u);
    EXPECT_EQ(this->icmp().lastError(), kSysOperationAborted);
    this->icmp().cancel(this->m_service);
    this->icmp().cancel(nullptr);
}

TYPED_TEST(IcmpContractTest, ACancelLeavesOtherServicesAlone) {
    const SPW_Handle other = this->icmp().open();
    ASSERT_NE(other, nullptr);
    std::thread echoing([this] {
        EXPECT_EQ(this->echo().to(this->m_implementation.silentAddress()).withinMs(TypeParam::kLeftEchoMs).replies(),
                  0u);
    });
    std::this_thread::sleep_for(milliseconds(50));
    this->icmp().cancel(other);
    EXPECT_EQ(Echo(this->icmp(), other).replies(), 0u);
    EXPECT_EQ(this->icmp().lastError(), kSysOperationAborted);
    this->icmp().close(other);
    const SPW_Handle later = this->icmp().open();
    EXPECT_EQ(Echo(this->icmp(), later).to(this->m_implementation.silentAddress()).withinMs(30).replies(), 0u);
    EXPECT_EQ(this->icmp().lastError(), kIcmpTimedOut) << "the other echo is still under way";
    this->icmp().close(later);
    this->icmp().cancel(this->m_service);
    echoing.join();
    this->m_implementation.waitForLeftEchoes();
}

TYPED_TEST(IcmpContractTest, ItDoesNotMatterWhenDuringAnEchoTheServiceIsCancelled) {
    const SPW_CIpAddress silent = this->m_implementation.silentAddress();
    for (int round = 0; round < 200; ++round) {
        const SPW_Handle service = this->icmp().open();
        ASSERT_NE(service, nullptr);
        std::thread echoing([this, service, &silent] {
            EXPECT_EQ(Echo(this->icmp(), service).to(silent).withinMs(TypeParam::kLeftEchoMs).replies(), 0u);
            EXPECT_EQ(this->icmp().lastError(), kSysOperationAborted);
        });
        std::this_thread::sleep_for(std::chrono::microseconds(round));
        this->icmp().cancel(service);
        echoing.join();
        this->icmp().close(service);
    }
    this->m_implementation.waitForLeftEchoes();
}

// ---- The scripted service alone ----

TEST(ScriptedIcmpTest, FailuresComeInOrderAndRequestsAreRecorded) {
    ScriptedIcmp icmp;
    icmp.failOpen(kSysAccessDenied);
    EXPECT_EQ(icmp.open(), nullptr);
    EXPECT_EQ(icmp.lastError(), kSysAccessDenied);
    const SPW_Handle service = icmp.open();
    ASSERT_NE(service, nullptr);
    EXPECT_EQ(icmp.openServices(), 1);
    icmp.failEcho(kIcmpHostUnreachable);
    Echo echo(icmp, service);
    echo.to(kForeign).carrying("ab").withReplyBytes(56).withinMs(1000);
    EXPECT_EQ(echo.replies(), 0u);
    EXPECT_EQ(icmp.lastError(), kIcmpHostUnreachable);
    EXPECT_EQ(echo.replies(), 1u);
    ASSERT_EQ(icmp.requests().size(), 1u);
    EXPECT_EQ(icmp.requests()[0].address, kForeign);
    EXPECT_EQ(icmp.requests()[0].bytes, "ab");
    EXPECT_EQ(icmp.requests()[0].replySize, 56u);
    EXPECT_EQ(icmp.requests()[0].timeoutMs, 1000u);
    icmp.close(service);
    EXPECT_EQ(icmp.openServices(), 0);
}

}  // namespace
