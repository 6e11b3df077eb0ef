#include "Signals.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

namespace {

// No test leaves a signal pending or blocked for the next one.
class SignalsTest : public testing::Test {
protected:
    SignalsTest() {
        pthread_sigmask(SIG_SETMASK, nullptr, &m_before);
        for (const int number : kNumbers) {
            m_actions[number] = signal(number, SIG_DFL);  // the tests may run under nohup
        }
    }
    ~SignalsTest() override {
        m_signals.reset();
        // A signal that nobody has read yet would end the tests when it is no longer blocked. Ignoring drops it.
        for (const int number : kNumbers) {
            signal(number, SIG_IGN);
        }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
        for (const int number : kNumbers) {
            signal(number, m_actions[number]);
        }
    }
    Signals& signals(bool doesHangupStop = false) {
        if (m_signals == nullptr) {
            m_signals = std::make_unique<Signals>(m_wakeup, doesHangupStop);
        }
        return *m_signals;
    }
    // Waits for the next signal. Returns 0 if none comes.
    int awaited(int timeoutMs = 10000) {
        pollfd source = {m_wakeup.descriptor(), POLLIN, 0};
        (void)poll(&source, 1, timeoutMs);
        m_wakeup.clear();
        return m_signals->next();
    }
    int after(int number) {
        kill(getpid(), number);
        return awaited();
    }
    Wakeup m_wakeup;
    std::unique_ptr<Signals> m_signals;

private:
    static constexpr int kNumbers[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2, SIGWINCH};
    sigset_t m_before;
    void (*m_actions[64])(int) = {};
};

TEST_F(SignalsTest, EverySignalIsHandedOn) {
    signals().alsoReceive({SIGQUIT, SIGWINCH});
    for (const int number : {SIGUSR1, SIGUSR2, SIGHUP, SIGQUIT, SIGWINCH, SIGTERM}) {
        EXPECT_EQ(number, after(number));
    }
    EXPECT_EQ(0, m_signals->next());
}

TEST_F(SignalsTest, OnlyARequestToStopIsOne) {
    signals();
    EXPECT_EQ(SIGUSR1, after(SIGUSR1));
    EXPECT_EQ(SIGHUP, after(SIGHUP));
    EXPECT_FALSE(m_signals->isStopRequested());
    EXPECT_EQ(SIGINT, after(SIGINT));
    EXPECT_TRUE(m_signals->isStopRequested());
    EXPECT_TRUE(m_signals->isStop(SIGINT) && m_signals->isStop(SIGTERM));
    EXPECT_FALSE(m_signals->isStop(SIGHUP));
}

TEST_F(SignalsTest, AHangupStopsWhereItIsToldTo) {
    signals(true);
    EXPECT_EQ(SIGHUP, after(SIGHUP));
    EXPECT_TRUE(m_signals->isStopRequested() && m_signals->isStop(SIGHUP));
}

TEST_F(SignalsTest, AStopGoesBeforeEverythingElse) {
    signals();
    for (const int number : {SIGHUP, SIGUSR1, SIGUSR2, SIGTERM}) {
        kill(getpid(), number);
    }
    while (!m_signals->isStopRequested()) {
        std::this_thread::yield();
    }
    EXPECT_EQ(SIGTERM, m_signals->next());
}

TEST_F(SignalsTest, WithoutASignalThereIsNothing) {
    signals();
    EXPECT_EQ(0, awaited(20));
}

TEST_F(SignalsTest, ASignalThatIsIgnoredStaysIgnored) {
    for (const int number : {SIGINT, SIGHUP, SIGQUIT}) {
        signal(number, SIG_IGN);
    }
    signals().alsoReceive({SIGQUIT});
    for (const int number : {SIGINT, SIGHUP, SIGQUIT}) {
        kill(getpid(), number);
    }
    EXPECT_EQ(SIGUSR2, after(SIGUSR2));
    EXPECT_EQ(0, awaited(20));
    EXPECT_FALSE(m_signals->isStopRequested());
}

TEST_F(SignalsTest, ASecondRequestEndsTheProgramAtOnceWhateverItIsDoing) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            signals();
            kill(getpid(), SIGTERM);
            std::this_thread::sleep_for(std::chrono::milliseconds(2 * Signals::kSameRequestMs));
            kill(getpid(), SIGINT);
            pause();  // what never comes back
        },
        testing::KilledBySignal(SIGINT), "");
}

TEST_F(SignalsTest, ARequestThatComesTwiceAtOnceIsOne) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            signals();
            EXPECT_EQ(SIGTERM, after(SIGTERM));
            EXPECT_EQ(SIGTERM, after(SIGTERM));
            _exit(0);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(SignalsTest, TheWatcherIsCalledAgainAndAgainFromTheEndsBeginningOn) {
    std::atomic<int> calls{0};
    signals().setWatcher([&calls] { ++calls; });
    EXPECT_EQ(SIGUSR1, after(SIGUSR1));
    EXPECT_EQ(0, calls);
    m_signals->endBegins();
    while (calls < 3) {
        std::this_thread::yield();
    }
    m_signals->setWatcher({});
    const int last = calls;
    std::atomic<int> callsOfAnother{0};
    m_signals->setWatcher([&callsOfAnother] { ++callsOfAnother; });
    while (callsOfAnother < 3) {
        std::this_thread::yield();
    }
    m_signals->setWatcher({});
    EXPECT_EQ(last, calls);
}

TEST_F(SignalsTest, ARequestToStopBeginsTheEnd) {
    std::atomic<int> calls{0};
    signals().setWatcher([&calls] { ++calls; });
    EXPECT_EQ(SIGTERM, after(SIGTERM));
    while (calls < 2) {
        std::this_thread::yield();
    }
    m_signals->setWatcher({});
}

TEST_F(SignalsTest, WritesThatFailRaiseNoSignal) {
    signals();
    EXPECT_EQ(SIG_IGN, signal(SIGPIPE, SIG_IGN));
    EXPECT_EQ(SIG_IGN, signal(SIGXFSZ, SIG_IGN));
}

}  // namespace
