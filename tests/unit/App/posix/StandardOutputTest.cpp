#include "StandardOutput.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>

#include "Console.h"

namespace {

constexpr std::uint32_t kLongMs = 20000;

// The standard output is a pipe. The test reads it.
class StandardOutputTest : public testing::Test {
protected:
    StandardOutputTest() {
        m_formerAction = signal(SIGPIPE, SIG_IGN);
        m_former = dup(STDOUT_FILENO);
        EXPECT_EQ(0, pipe(m_pipe));
        dup2(m_pipe[1], STDOUT_FILENO);
        close(m_pipe[1]);
        m_output = std::make_unique<StandardOutput>(m_wakeup);
    }
    ~StandardOutputTest() override {
        closeReader();
        m_output.reset();
        dup2(m_former, STDOUT_FILENO);
        close(m_former);
        signal(SIGPIPE, m_formerAction);
    }
    void closeReader() {
        if (m_pipe[0] >= 0) {
            close(m_pipe[0]);
        }
        m_pipe[0] = -1;
    }
    std::string read(std::size_t count) const {
        std::string text;
        while (text.size() < count) {
            char piece[4096];
            const ssize_t length = ::read(m_pipe[0], piece, std::min(sizeof piece, count - text.size()));
            if (length <= 0) {
                break;
            }
            text.append(piece, static_cast<std::size_t>(length));
        }
        return text;
    }

    Wakeup m_wakeup;
    std::unique_ptr<StandardOutput> m_output;
    int m_pipe[2] = {-1, -1};

private:
    int m_former;
    void (*m_formerAction)(int);
};

// More than a pipe takes.
const std::string kLongText(1000000, 'x');

TEST_F(StandardOutputTest, TextsComeOutWholeAndInOrder) {
    m_output->print("one\n");
    m_output->print("two\n");
    EXPECT_TRUE(m_output->waitUntilWritten(kLongMs));
    EXPECT_EQ("one\ntwo\n", read(8));
    EXPECT_EQ(0, m_output->failure());
    EXPECT_FALSE(m_output->isBusy());
}

TEST_F(StandardOutputTest, AReaderThatStallsHoldsUpNobody) {
    m_output->print(kLongText);
    m_output->print("end\n");
    EXPECT_FALSE(m_output->waitUntilWritten(50));
    EXPECT_TRUE(m_output->isBusy());
    EXPECT_EQ(kLongText, read(kLongText.size()));
    EXPECT_TRUE(m_output->waitUntilWritten(kLongMs));
    EXPECT_EQ("end\n", read(4));
}

TEST_F(StandardOutputTest, AReaderThatTakesSomethingAgainAndAgainIsWaitedFor) {
    m_output->print(kLongText);
    HelperThread reader([this] {
        for (int i = 0; i < 10; ++i) {
            usleep(30000);
            EXPECT_EQ(100000u, read(100000).size());
        }
    });
    EXPECT_TRUE(m_output->waitUntilWritten(kLongMs));
    reader.join();
}

TEST_F(StandardOutputTest, WhoeverWaitsForItIsWokenWhenATextIsThrough) {
    m_output->print("text");
    pollfd source = {m_wakeup.descriptor(), POLLIN, 0};
    EXPECT_EQ(1, poll(&source, 1, static_cast<int>(kLongMs)));
    EXPECT_FALSE(m_output->isBusy());
}

TEST_F(StandardOutputTest, AReaderThatHasLeftIsAFailureAndNothingWaitsForIt) {
    closeReader();
    m_output->print("text");
    EXPECT_TRUE(m_output->waitUntilWritten(kLongMs));
    EXPECT_EQ(EPIPE, m_output->failure());
    m_output->print(kLongText);
    EXPECT_FALSE(m_output->isBusy());
    EXPECT_EQ(EPIPE, m_output->failure());
}

TEST_F(StandardOutputTest, AnOutputThatDoesNotBlockIsWaitedFor) {
    fcntl(STDOUT_FILENO, F_SETFL, O_NONBLOCK);
    m_output->print(kLongText);
    EXPECT_FALSE(m_output->waitUntilWritten(50));
    EXPECT_EQ(kLongText, read(kLongText.size()));
    EXPECT_TRUE(m_output->waitUntilWritten(kLongMs));
    EXPECT_EQ(0, m_output->failure());
}

// Of the same pipe.
TEST_F(StandardOutputTest, AStandardErrorThatStallsIsWaitedForOnceAndForAWhile) {
    fcntl(STDOUT_FILENO, F_SETFL, O_NONBLOCK);
    while (write(STDOUT_FILENO, kLongText.data(), 4096) > 0) {
    }
    fcntl(STDOUT_FILENO, F_SETFL, 0);
    const int former = dup(STDERR_FILENO);
    dup2(STDOUT_FILENO, STDERR_FILENO);
    sayOnStandardError("waited for, and lost\n");
    for (int i = 0; i < 1000; ++i) {
        sayOnStandardError("lost\n");
    }
    (void)read(65536);
    sayOnStandardError("heard\n");
    dup2(former, STDERR_FILENO);
    close(former);
    EXPECT_EQ("heard\n", read(6));
}

}  // namespace
