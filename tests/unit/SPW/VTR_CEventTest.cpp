#include "VTR_CEvent.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <vector>

#include "OtherThreads.h"
#include "Patience.h"
#include "RecordingReporter.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr bool kManual = true;
constexpr bool kAutomatic = false;

TEST(EventTest, AutomaticEventLetsOneWaiterThroughPerSet) {
    VTR_CEvent event;
    ASSERT_EQ(event.create(kAutomatic, false, nullptr), 0u);
    EXPECT_EQ(event.wait(0), 521u);
    EXPECT_EQ(event.set(), 0u);
    EXPECT_EQ(event.set(), 0u);
    EXPECT_EQ(event.wait(kSPWForever), 0u);
    EXPECT_EQ(event.wait(0), 521u);
}

TEST(EventTest, AutomaticEventMayBeginSet) {
    VTR_CEvent event;
    ASSERT_EQ(event.create(kAutomatic, true, u""), 0u);
    EXPECT_EQ(event.wait(0), 0u);
    EXPECT_EQ(event.wait(0), 521u);
}

TEST(EventTest, ManualEventLetsEverybodyThroughUntilItIsReset) {
    VTR_CEvent event;
    ASSERT_EQ(event.create(kManual, true, nullptr), 0u);
    EXPECT_EQ(event.wait(0), 0u);
    EXPECT_EQ(event.wait(kSPWForever), 0u);
    EXPECT_EQ(event.reset(), 0u);
    EXPECT_EQ(event.wait(0), 521u);
    EXPECT_EQ(event.set(), 0u);
    EXPECT_EQ(event.wait(0), 0u);
}

TEST(EventTest, ResetTakesBackAnAutomaticEvent) {
    VTR_CEvent event;
    ASSERT_EQ(event.create(kAutomatic, true, nullptr), 0u);
    EXPECT_EQ(event.reset(), 0u);
    EXPECT_EQ(event.wait(0), 521u);
}

TEST(EventTest, WaitEndsWithCode521WhenTheTimeIsUp) {
    VTR_CEvent event;
    ASSERT_EQ(event.create(kAutomatic, false, nullptr), 0u);
    const auto begin = steady_clock::now();
    EXPECT_EQ(event.wait(40), 521u);
    EXPECT_GE(steady_clock::now() - begin, milliseconds(40) - kTimerTick);
}

TEST(EventTest, TimedWaitSeesASetThatComesInTime) {
    VTR_CEvent event;
    ASSERT_EQ(event.create(kAutomatic, false, nullptr), 0u);
    std::thread setter([&] {
        awaitOthersAsleep();
        event.set();
    });
    EXPECT_EQ(event.wait(60000), 0u);
    setter.join();
}

// Threads that wait for one event. Each is in line before the next comes.
class Line {
public:
    Line(VTR_CEvent& event, int length) {
        for (int i = 0; i < length; ++i) {
            m_threads.emplace_back([this, &event, i] {
                ++m_arrived;
                if (event.wait(kSPWForever) == 0) {
                    m_last = i;
                    ++m_served;
                }
            });
            while (m_arrived <= i) {
                std::this_thread::yield();
            }
            awaitOthersAsleep();
        }
    }
    ~Line() {
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }
    // Whether so many have been served, and no more.
    bool awaitServed(int count) {
        const bool areServed = soon([this, count] { return m_served >= count; });
        awaitOthersAsleep();
        return areServed && m_served == count;
    }
    int last() const { return m_last; }

private:
    std::atomic<int> m_arrived{0};
    std::atomic<int> m_served{0};
    std::atomic<int> m_last{-1};
    std::vector<std::thread> m_threads;
};

TEST(EventTest, AutomaticEventServesWaitersInOrderOneByOne) {
    // Too many for an order that comes about by chance.
    constexpr int kWaiters = 8;
    VTR_CEvent event;
    ASSERT_EQ(event.create(kAutomatic, false, nullptr), 0u);
    Line line(event, kWaiters);
    for (int i = 0; i < kWaiters; ++i) {
        event.set();
        EXPECT_TRUE(line.awaitServed(i + 1));
        EXPECT_EQ(line.last(), i);
    }
}

TEST(EventTest, ManualEventServesAllWaitersEvenWhenItIsResetAtOnce) {
    VTR_CEvent event;
    ASSERT_EQ(event.create(kManual, false, nullptr), 0u);
    Line line(event, 3);
    event.set();
    event.reset();
    EXPECT_EQ(event.wait(0), 521u);
    EXPECT_TRUE(line.awaitServed(3));
    event.set();  // where the test has failed, its threads end all the same
}

TEST(EventTest, WaiterThatGaveUpDoesNotTakeTheSetOfAnother) {
    VTR_CEvent event;
    ASSERT_EQ(event.create(kAutomatic, false, nullptr), 0u);
    EXPECT_EQ(event.wait(1), 521u);
    event.set();
    EXPECT_EQ(event.wait(0), 0u);
}

TEST(EventTest, ReleasedWaiterMayDestroyTheEventWhileSetIsReturning) {
    for (int round = 0; round < 500; ++round) {
        VTR_CEvent* const event = new VTR_CEvent;
        ASSERT_EQ(event->create(kAutomatic, false, nullptr), 0u);
        std::thread waiter([event] {
            EXPECT_EQ(event->wait(kSPWForever), 0u);
            delete event;
        });
        event->set();
        waiter.join();
    }
}

TEST(EventTest, WaitAndProcessMsgsReturnsZeroOnceTheEventIsSet) {
    VTR_CEvent event;
    ASSERT_EQ(event.create(kAutomatic, false, nullptr), 0u);
    std::thread setter([&] {
        awaitOthersAsleep();
        event.set();
    });
    EXPECT_EQ(event.waitAndProcessMsgs(), 0u);
    EXPECT_EQ(event.wait(0), 521u);
    setter.join();
}

TEST(EventTest, CreatingAgainMakesAFreshEvent) {
    VTR_CEvent event;
    ASSERT_EQ(event.create(kManual, true, nullptr), 0u);
    ASSERT_EQ(event.create(kAutomatic, false, nullptr), 0u);
    EXPECT_EQ(event.wait(0), 521u);
}

TEST(EventTest, UseBeforeCreateIsAFatalAssertion) {
    struct Row {
        const char* method;
        int line;
        SPW_Result result;
        std::function<SPW_Result(VTR_CEvent&)> call;
    };
    const Row rows[] = {
        {"set", 46, 523, [](VTR_CEvent& event) { return event.set(); }},
        {"reset", 63, 524, [](VTR_CEvent& event) { return event.reset(); }},
        {"wait", 81, 525, [](VTR_CEvent& event) { return event.wait(kSPWForever); }},
        {"waitAndProcessMsgs", 105, 0, [](VTR_CEvent& event) { return event.waitAndProcessMsgs(); }},
    };
    for (const Row& row : rows) {
        RecordingReporter reporter;
        VTR_CEvent event;
        EXPECT_EQ(row.call(event), row.result) << row.method;
        const auto reports = reporter.takeReports();
        ASSERT_THAT(reports, ElementsAre(IsReport("VTR_CEvent", row.method, 0, "assertion failed: m_hEvent != NULL")));
        EXPECT_TRUE(reports[0].isFatal());
        EXPECT_EQ(reports[0].line, row.line);
        EXPECT_EQ(reports[0].module, "VTR_CEvent");
    }
}

TEST(EventTest, TimeOutIsNotReported) {
    RecordingReporter reporter;
    VTR_CEvent event;
    ASSERT_EQ(event.create(kAutomatic, false, nullptr), 0u);
    EXPECT_EQ(event.wait(1), 521u);
    EXPECT_THAT(reporter.takeReports(), IsEmpty());
}

}  // namespace
