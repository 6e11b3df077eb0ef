#include "Signals.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <thread>

namespace {

// What one test leaves pending or blocked is nothing to the others.
class SignalsTest : public testing::Test {
protected:
    SignalsTest() {
        pthread_sigmask(SIG_SETMASK, nullptr, &m_before);
        m_hangup = signal(SIGHUP, SIG_DFL);  // the tests may run under nohup
        blockRequestSignals();
    }
    ~SignalsTest() override {
        while (waitForRequest(0) != Request::kNone) {
        }
        signal(SIGHUP, m_hangup);
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }
    // As if the program had been started with this answer to SIGHUP.
    void beginAgainWithHangup(void (*action)(int)) {
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
        signal(SIGHUP, action);
        blockRequestSignals();
    }
    static Request after(int number) {
        kill(getpid(), number);
        return waitForRequest(10000);
    }

private:
    sigset_t m_before;
    void (*m_hangup)(int);
};

TEST_F(SignalsTest, EverySignalIsItsRequest) {
    EXPECT_EQ(Request::kStop, after(SIGINT));
    EXPECT_EQ(Request::kStop, after(SIGTERM));
    EXPECT_EQ(Request::kSnapshot, after(SIGUSR1));
    EXPECT_EQ(Request::kReset, after(SIGUSR2));
    EXPECT_EQ(Request::kRestart, after(SIGHUP));
}

TEST_F(SignalsTest, WithoutASignalTheTimeGoesByAndThereIsNoRequest) {
    EXPECT_EQ(Request::kNone, waitForRequest(0));
    EXPECT_EQ(Request::kNone, waitForRequest(20));
}

TEST_F(SignalsTest, AStopGoesBeforeEverythingElse) {
    for (const int stop : {SIGINT, SIGTERM}) {
        for (const int number : {SIGHUP, SIGUSR1, SIGUSR2, stop})
            kill(getpid(), number);
        EXPECT_EQ(Request::kStop, waitForRequest(10000));
        EXPECT_EQ(Request::kRestart, waitForRequest(10000));
        EXPECT_EQ(Request::kSnapshot, waitForRequest(10000));
        EXPECT_EQ(Request::kReset, waitForRequest(10000));
        EXPECT_EQ(Request::kNone, waitForRequest(0));
    }
}

TEST_F(SignalsTest, TheSameRequestTwiceIsOneWhileItIsPending) {
    kill(getpid(), SIGHUP);
    EXPECT_EQ(Request::kRestart, after(SIGHUP));
    EXPECT_EQ(Request::kNone, waitForRequest(0));
}

TEST_F(SignalsTest, ASignalEndsAWaitWhicheverThreadTheKernelOffersItTo) {
    Request request = Request::kNone;
    std::thread waiter([&request] { request = waitForRequest(10000); });
    kill(getpid(), SIGUSR2);
    waiter.join();
    EXPECT_EQ(Request::kReset, request);
}

TEST_F(SignalsTest, AHangupThatIsIgnoredStaysIgnored) {
    beginAgainWithHangup(SIG_IGN);
    kill(getpid(), SIGHUP);
    EXPECT_EQ(Request::kNone, waitForRequest(20));
    EXPECT_EQ(Request::kReset, after(SIGUSR2));
}

TEST_F(SignalsTest, WritesThatFailRaiseNoSignal) {
    EXPECT_EQ(SIG_IGN, signal(SIGPIPE, SIG_IGN));
    EXPECT_EQ(SIG_IGN, signal(SIGXFSZ, SIG_IGN));
}

}  // namespace
