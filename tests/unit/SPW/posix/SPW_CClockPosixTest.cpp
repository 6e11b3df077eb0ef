#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <time.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <string>
#include <thread>

#include "NeedsNamespaces.h"
#include "SPW_CClock.h"
#include "TemporaryFolder.h"
#include "VTR_CEvent.h"

namespace {

// Sets the time zone of the process for the life of a block.
class TimeZone {
public:
    explicit TimeZone(const char* zone) : m_wasSet(getenv("TZ") != nullptr), m_former(m_wasSet ? getenv("TZ") : "") {
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone() {
        if (m_wasSet) {
            setenv("TZ", m_former.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

private:
    bool m_wasSet;
    std::string m_former;
};

constexpr std::uint64_t kSummer = 127017148290000000;  // 3 July 2003, 14:07:09 UTC
constexpr std::uint64_t kWinter = kSummer - 180 * std::uint64_t{864000000000};

TEST(ClockPosixTest, LocalTimeFollowsTheZoneOfItsOwnMoment) {
    const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(SPW_CClock::instance->toLocal(kSummer).hour, 16);
    EXPECT_EQ(SPW_CClock::instance->toLocal(kWinter).hour, 15);
}

TEST(ClockPosixTest, LocalTimeWestOfGreenwichMayBeTheDayBefore) {
    const TimeZone zone("XXX+15:30");
    const SPW_CalendarTime local = SPW_CClock::instance->toLocal(kSummer + 1230000);
    EXPECT_EQ(local.day, 2);
    EXPECT_EQ(local.dayOfWeek, 3);
    EXPECT_EQ(local.hour, 22);
    EXPECT_EQ(local.minute, 37);
    EXPECT_EQ(local.second, 9);
    EXPECT_EQ(local.millisecond, 123);
}

TEST(ClockPosixTest, MomentsBefore1970HaveALocalTimeToo) {
    const TimeZone zone("UTC0");
    EXPECT_EQ(SPW_CClock::instance->toLocal(0).year, 1601);
}

TEST(ClockPosixTest, TheFirstMomentOfTheCountIsNotBeforeItselfInTheWest) {
    const TimeZone zone("XXX+15:30");
    const SPW_CalendarTime local = SPW_CClock::instance->toLocal(0);
    EXPECT_EQ(local.year, 1601);
    EXPECT_EQ(local.hour, 0);
    EXPECT_EQ(SPW_CClock::instance->toLocal(std::uint64_t{16} * 3600 * 10000000).minute, 30);
}

constexpr std::uint64_t kMinute = 600000000;

// The file of a zone that has one offset only.
std::string zoneFile(int hoursEast) {
    const std::string header = std::string("TZif2") + std::string(15, '\0') +
                               std::string("\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\1\0\0\0\4", 24);
    std::string offset;
    for (int shift = 24; shift >= 0; shift -= 8) {
        offset += static_cast<char>(hoursEast * 3600 >> shift);
    }
    const std::string body = header + offset + std::string("\0\0", 2) + std::string("XXX\0", 4);
    return body + body + "\nXXX" + std::to_string(-hoursEast) + "\n";
}

TEST(ClockPosixTest, AnotherZoneCountsFromTheNextMinuteOn) {
    const TimeZone zone("UTC0");
    EXPECT_EQ(SPW_CClock::instance->toLocal(kSummer).hour, 14);
    setenv("TZ", "XXX-3", 1);
    EXPECT_EQ(SPW_CClock::instance->toLocal(kSummer + kMinute).hour, 17);
    setenv("TZ", "XXX-4", 1);
    EXPECT_EQ(SPW_CClock::instance->toLocal(kSummer + 2 * kMinute).hour, 18);
}

// What a desktop's settings and timedatectl do.
TEST(ClockPosixTest, AnotherZoneOfTheDeviceCountsFromTheNextMinuteOn) {
    const TimeZone zone("UTC0");
    unsetenv("TZ");
    TemporaryFolder folder;
    // The thread takes its view of the files with it when it ends.
    std::thread([&folder] {
        SKIP_OUTSIDE_NAMESPACES(::unshare(CLONE_NEWNS) == 0, "no mount namespace may be made here");
        ASSERT_EQ(::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
        ASSERT_EQ(::mount(folder.native().c_str(), "/etc", nullptr, MS_BIND, nullptr), 0);
        folder.write("localtime", zoneFile(3));
        EXPECT_EQ(SPW_CClock::instance->toLocal(kSummer + 3 * kMinute).hour, 17);
        folder.write("other", zoneFile(5));
        std::filesystem::rename(folder.native() / "other", folder.native() / "localtime");
        EXPECT_EQ(SPW_CClock::instance->toLocal(kSummer + 4 * kMinute).hour, 19);
    }).join();
}

std::atomic<int> signalsHandled{0};

// sleep: a call that lasts for 60 ms.
void expectNotShortenedBySignals(const std::function<void()>& sleep) {
    struct sigaction action = {};
    struct sigaction former = {};
    action.sa_handler = [](int) { ++signalsHandled; };
    ASSERT_EQ(sigaction(SIGUSR1, &action, &former), 0);
    signalsHandled = 0;
    // On a busy machine a sleep may be over before the first signal.
    while (signalsHandled == 0) {
        std::atomic<bool> awake{false};
        const auto begin = std::chrono::steady_clock::now();
        std::thread sleeper([&] {
            sleep();
            awake = true;
        });
        while (!awake) {
            pthread_kill(sleeper.native_handle(), SIGUSR1);
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        sleeper.join();
        EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(60));
    }
    sigaction(SIGUSR1, &former, nullptr);
}

TEST(ClockPosixTest, SignalsDoNotShortenASleep) {
    expectNotShortenedBySignals([] { SPW_CClock::instance->sleepMs(60); });
}

TEST(ClockPosixTest, SignalsDoNotShortenASleepTowardsAMoment) {
    VTR_CEvent wake;
    ASSERT_EQ(wake.create(false, false, nullptr), 0u);
    expectNotShortenedBySignals([&wake] {
        const std::uint64_t due = SPW_CClock::instance->now100ns() + 60 * 10000;
        SPW_CClock::instance->sleepTowards(due, 60, wake);
    });
}

}  // namespace
