#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "Atomics.h"
#include "Division.h"
#include "Start.h"

using namespace WindowsCeRuntime;
using testing::ElementsAre;

// --- Division

namespace {

template <typename T>
std::vector<T> telling() {
    using Limits = std::numeric_limits<T>;
    std::vector<T> numbers = {0,
                              1,
                              2,
                              3,
                              7,
                              9,
                              10,
                              100,
                              255,
                              256,
                              1000,
                              65535,
                              65536,
                              Limits::max(),
                              Limits::max() - 1,
                              Limits::max() / 2,
                              Limits::max() / 2 + 1,
                              Limits::min(),
                              Limits::min() + 1};
    std::mt19937_64 random(1);
    for (int i = 0; i < 300; ++i) {
        numbers.push_back(static_cast<T>(random() >> (random() % 64)));
    }
    return numbers;
}

template <typename T>
class DivisionTest : public testing::Test {};
using Unsigned = testing::Types<std::uint32_t, std::uint64_t>;
TYPED_TEST_SUITE(DivisionTest, Unsigned);

template <typename T>
class SignedDivisionTest : public testing::Test {};
using Signed = testing::Types<std::int32_t, std::int64_t>;
TYPED_TEST_SUITE(SignedDivisionTest, Signed);

}  // namespace

TYPED_TEST(DivisionTest, IsThatOfAProcessorThatCan) {
    for (const TypeParam dividend : telling<TypeParam>()) {
        for (const TypeParam divisor : telling<TypeParam>()) {
            if (divisor != 0) {
                const auto result = divide(dividend, divisor);
                ASSERT_EQ(result.quotient, dividend / divisor) << dividend << " / " << divisor;
                ASSERT_EQ(result.remainder, dividend % divisor) << dividend << " % " << divisor;
            }
        }
    }
}

TYPED_TEST(SignedDivisionTest, IsThatOfAProcessorThatCan) {
    for (const TypeParam dividend : telling<TypeParam>()) {
        for (const TypeParam divisor : telling<TypeParam>()) {
            const bool overflows = dividend == std::numeric_limits<TypeParam>::min() && divisor == -1;
            if (divisor != 0 && !overflows) {
                ASSERT_EQ(signedQuotient(dividend, divisor), dividend / divisor) << dividend << " / " << divisor;
                ASSERT_EQ(signedRemainder(dividend, divisor), dividend % divisor) << dividend << " % " << divisor;
            }
        }
    }
}

TYPED_TEST(SignedDivisionTest, RoundsTowardsZeroAndGivesTheRemainderTheDividendsSign) {
    EXPECT_EQ(signedQuotient<TypeParam>(-7, 2), -3);
    EXPECT_EQ(signedRemainder<TypeParam>(-7, 2), -1);
    EXPECT_EQ(signedQuotient<TypeParam>(7, -2), -3);
    EXPECT_EQ(signedRemainder<TypeParam>(7, -2), 1);
}

// --- Atomic operations

namespace {

// The first uses this processor's own exchange for the system's. The second fails once, as if another thread had come
// in before.
struct RealSystem {
    static std::uint32_t compareExchange(std::uint32_t* word, std::uint32_t expected, std::uint32_t wanted) {
        (void)__atomic_compare_exchange_n(word, &expected, wanted, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
        return expected;
    }
    static void giveWay() { std::this_thread::yield(); }
};

struct DisturbedSystem {
    static std::uint32_t compareExchange(std::uint32_t* word, std::uint32_t expected, std::uint32_t wanted) {
        if (disturbance != 0) {
            *word += disturbance;
            disturbance = 0;
        }
        return RealSystem::compareExchange(word, expected, wanted);
    }
    static void giveWay() {
        ++waits;
        *lock = 0;
    }

    static inline std::uint32_t disturbance = 0;
    static inline int waits = 0;
    static inline std::uint32_t* lock = nullptr;
};

using Real = Atomics<RealSystem>;
using Disturbed = Atomics<DisturbedSystem>;

constexpr int kThreads = 4;
constexpr int kRounds = 2000;

template <typename Work>
void inThreads(Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([=] {
            for (int round = 0; round < kRounds; ++round) {
                work(i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

}  // namespace

TEST(AtomicsTest, CompareExchangeReplacesOnlyWhatWasExpectedAndTellsWhatWasThere) {
    std::uint32_t word = 5;
    std::uint32_t expected = 4;
    EXPECT_FALSE(Real::compareExchange(&word, &expected, 9));
    EXPECT_EQ(expected, 5u);
    EXPECT_EQ(word, 5u);
    EXPECT_TRUE(Real::compareExchange(&word, &expected, 9));
    EXPECT_EQ(expected, 5u);
    EXPECT_EQ(word, 9u);
}

TEST(AtomicsTest, UpdateStartsAnewWhenAnotherThreadWasFaster) {
    std::uint32_t word = 10;
    DisturbedSystem::disturbance = 100;
    EXPECT_EQ(Disturbed::update(&word, [](std::uint32_t value) { return value * 2; }), 110u);
    EXPECT_EQ(word, 220u);
}

TEST(AtomicsTest, AByteLeavesItsNeighboursAlone) {
    for (int place = 0; place < 4; ++place) {
        alignas(4) std::uint8_t bytes[4] = {0x11, 0x22, 0x33, 0x44};
        std::uint8_t wanted[4] = {0x11, 0x22, 0x33, 0x44};
        EXPECT_EQ(Real::updateByte(bytes + place, [](std::uint8_t) -> std::uint8_t { return 0xFE; }), wanted[place]);
        wanted[place] = 0xFE;
        EXPECT_THAT(bytes, testing::ElementsAreArray(wanted));
    }
}

TEST(AtomicsTest, CompareExchangeOfAByteReplacesOnlyWhatWasExpected) {
    alignas(4) std::uint8_t bytes[4] = {1, 2, 3, 4};
    std::uint8_t expected = 9;
    EXPECT_FALSE(Real::compareExchangeByte(bytes + 2, &expected, 7));
    EXPECT_EQ(expected, 3);
    EXPECT_TRUE(Real::compareExchangeByte(bytes + 2, &expected, 7));
    EXPECT_THAT(bytes, ElementsAre(1, 2, 7, 4));
}

TEST(AtomicsTest, EightBytesAreReplacedOnlyWhenTheyAreTheExpected) {
    std::uint32_t lock = 0;
    std::uint64_t value = 0x1'0000'0002;
    std::uint64_t expected = 0x1'0000'0003;
    EXPECT_FALSE(Real::compareExchange(&lock, &value, &expected, 7));
    EXPECT_EQ(expected, 0x1'0000'0002u);
    EXPECT_TRUE(Real::compareExchange(&lock, &value, &expected, 0x5'0000'0006));
    EXPECT_EQ(Real::load(&lock, &value), 0x5'0000'0006u);
    Real::store(&lock, &value, 8);
    EXPECT_EQ(value, 8u);
    EXPECT_EQ(lock, 0u);
}

TEST(AtomicsTest, WhoFindsTheLockTakenGivesWayUntilItIsFree) {
    std::uint32_t lock = 1;
    const std::uint64_t value = 3;
    DisturbedSystem::lock = &lock;
    DisturbedSystem::waits = 0;
    EXPECT_EQ(Disturbed::load(&lock, &value), 3u);
    EXPECT_EQ(DisturbedSystem::waits, 1);
    EXPECT_EQ(lock, 0u);
}

TEST(AtomicsTest, NoIncrementIsLostBetweenThreads) {
    std::uint32_t word = 0;
    inThreads([&](int) { (void)Real::update(&word, [](std::uint32_t value) { return value + 1; }); });
    EXPECT_EQ(word, static_cast<std::uint32_t>(kThreads * kRounds));
}

TEST(AtomicsTest, NoIncrementOfNeighbouringBytesIsLostBetweenThreads) {
    alignas(4) std::uint8_t bytes[kThreads] = {};
    inThreads([&](int i) {
        (void)Real::updateByte(bytes + i, [](std::uint8_t value) { return static_cast<std::uint8_t>(value + 1); });
    });
    EXPECT_THAT(bytes, testing::Each(static_cast<std::uint8_t>(kRounds)));
}

TEST(AtomicsTest, NoIncrementOfEightBytesIsLostBetweenThreads) {
    std::uint32_t lock = 0;
    std::uint64_t value = 0;
    inThreads([&](int) {
        std::uint64_t expected = Real::load(&lock, &value);
        while (!Real::compareExchange(&lock, &value, &expected, expected + 0x1'0000'0001)) {
        }
    });
    EXPECT_EQ(value, std::uint64_t{kThreads * kRounds} * 0x1'0000'0001);
}

// --- Constructors and destructors

namespace {

std::vector<int> calls;

const Function kEdge = reinterpret_cast<Function>(~std::uintptr_t{0});

}  // namespace

TEST(StartTest, ConstructorsRunInOrderAndDestructorsInTheOtherOrder) {
    const Function list[] = {kEdge, [] { calls.push_back(1); }, [] { calls.push_back(2); }, [] { calls.push_back(3); },
                             nullptr};
    calls.clear();
    runForward(list);
    EXPECT_THAT(calls, ElementsAre(1, 2, 3));
    calls.clear();
    runBackward(list);
    EXPECT_THAT(calls, ElementsAre(3, 2, 1));
}

TEST(StartTest, AnEmptyListCallsNothing) {
    const Function list[] = {kEdge, nullptr};
    calls.clear();
    runForward(list);
    runBackward(list);
    EXPECT_TRUE(calls.empty());
}
