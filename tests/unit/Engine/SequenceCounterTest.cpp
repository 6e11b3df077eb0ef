#include "SequenceCounter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "PeerTable.h"

namespace {

std::vector<std::string> scenarios() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(SEQUENCE_DATA)) {
        if (entry.path().extension() == ".txt") {
            names.push_back(entry.path().stem().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

class SequenceScenario : public testing::TestWithParam<std::string> {
protected:
    void play(const std::string& word, std::istringstream& values) {
        std::int32_t number = 0;
        if (word == "received") {
            while (values >> number) {
                m_row.record(kUdp, number);
            }
        } else if (word == "reset") {
            m_row.reset();
        } else if (word == "quality") {
            ASSERT_TRUE(values >> number);
            EXPECT_EQ(m_row.values().quality, number);
        } else {
            ASSERT_EQ(word, "expect");
            std::int32_t total = -1, lost = -1, received = -1;
            ASSERT_TRUE(values >> total >> lost >> received);
            const ProtocolCounts counts = m_row.values().counts[kUdp];
            EXPECT_EQ(counts.total, total);
            EXPECT_EQ(counts.lost, lost);
            EXPECT_EQ(counts.received, received);
        }
    }

    PeerRow m_row{1, u"10.0.0.7", u"", false};
};

TEST_P(SequenceScenario, CountsAsWritten) {
    std::ifstream file(std::string(SEQUENCE_DATA) + "/" + GetParam() + ".txt");
    ASSERT_TRUE(file);
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        SCOPED_TRACE("line " + std::to_string(++number) + ": " + line);
        std::istringstream values(line);
        std::string word;
        if (values >> word && word[0] != '#') {
            play(word, values);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Files, SequenceScenario, testing::ValuesIn(scenarios()), [](const auto& scenario) {
    std::string name = scenario.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

TEST(SequenceCounterTest, AFreshCounterHasNotStarted) {
    const SequenceCounter counter;
    EXPECT_FALSE(counter.isStarted());
    EXPECT_EQ(counter.first(), 0);
    EXPECT_EQ(counter.last(), 0);
}

TEST(SequenceCounterTest, TheFirstPositiveNumberStartsIt) {
    SequenceCounter counter;
    counter.record(7);
    EXPECT_TRUE(counter.isStarted());
    EXPECT_EQ(counter.first(), 7);
    EXPECT_EQ(counter.last(), 7);
}

TEST(SequenceCounterTest, AFirstZeroDoesNotStartIt) {
    SequenceCounter counter;
    counter.record(0);
    EXPECT_FALSE(counter.isStarted());
    EXPECT_EQ(counter.total(), 1);
}

TEST(SequenceCounterTest, ARepeatMovesTheFirstNumberAndLeavesItStarted) {
    SequenceCounter counter;
    counter.record(9);
    counter.record(4);
    EXPECT_TRUE(counter.isStarted());
    EXPECT_EQ(counter.first(), 4);
    EXPECT_EQ(counter.last(), 4);
}

TEST(SequenceCounterTest, AGapLeavesTheFirstNumber) {
    SequenceCounter counter;
    counter.record(1);
    counter.record(5);
    EXPECT_EQ(counter.first(), 1);
    EXPECT_EQ(counter.last(), 5);
}

TEST(SequenceCounterTest, ResetStopsIt) {
    SequenceCounter counter;
    counter.record(9);
    counter.reset();
    EXPECT_FALSE(counter.isStarted());
    EXPECT_EQ(counter.first(), 0);
    EXPECT_EQ(counter.last(), 0);
}

}  // namespace
