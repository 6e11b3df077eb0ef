#include "ChangeCommand.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

#include "TemporaryFolder.h"

namespace {

using Json = nlohmann::ordered_json;

// Runs a script of the test's own. The end of the command waits for all runs.
class ChangeCommandTest : public testing::Test {
protected:
    ChangeCommandTest() {
        m_limits.longestRunMs = 60000;
        m_limits.endPatienceMs = 60000;
    }
    SPW_CString script(const std::string& lines) {
        m_folder.write("script", "#!/bin/sh\ncd '" + m_folder.native().string() + "'\n" + lines);
        std::filesystem::permissions(m_folder.native() / "script", std::filesystem::perms::owner_all);
        return m_folder.path("script");
    }
    // Has the program run for each of these facts and returns what was said on standard error.
    std::string run(const SPW_CString& program, const std::vector<Json>& facts) {
        testing::internal::CaptureStderr();
        {
            ChangeCommand command(program, m_limits);
            EXPECT_TRUE(command.isReady());
            for (const Json& each : facts) {
                command.run(each);
            }
        }
        return testing::internal::GetCapturedStderr();
    }
    // How many lines there are in a file of the script's.
    long linesOf(const char* name) const {
        const std::string text = m_folder.read(name);
        return std::count(text.begin(), text.end(), '\n');
    }

    TemporaryFolder m_folder;
    ChangeCommand::Limits m_limits;
};

TEST_F(ChangeCommandTest, TheFactsAreInTheEnvironment) {
    const Json facts = {{"event", "outage_began"},  {"name", "a; touch hacked $(touch hacked)"},
                        {"kinds", {"udp", "ping"}}, {"missed", 7},
                        {"code", nullptr},          {"observer", {{"address", "10.0.0.1"}}}};
    EXPECT_EQ(run(script("env > facts\nenv | grep ^PATH= > path\n"), {facts}), "");
    const std::string seen = "\n" + m_folder.read("facts");
    for (const char* const line : {"LINKOMETRY_EVENT=outage_began", "LINKOMETRY_NAME=a; touch hacked $(touch hacked)",
                                   "LINKOMETRY_KINDS=udp ping", "LINKOMETRY_MISSED=7",
                                   "LINKOMETRY_CODE=", "LINKOMETRY_OBSERVER_ADDRESS=10.0.0.1"}) {
        EXPECT_NE(seen.find("\n" + std::string(line) + "\n"), std::string::npos) << line << " in" << seen;
    }
    EXPECT_FALSE(m_folder.exists("hacked"));
    EXPECT_EQ(m_folder.read("path"), "PATH=" + std::string(std::getenv("PATH")) + "\n");
}

TEST_F(ChangeCommandTest, NoFactOfTheStarterIsPassedOn) {
    setenv("LINKOMETRY_MISSED", "99", 1);
    (void)run(script("env > facts\n"), {Json{{"event", "restarted"}}});
    unsetenv("LINKOMETRY_MISSED");
    EXPECT_EQ(m_folder.read("facts").find("LINKOMETRY_MISSED"), std::string::npos);
}

TEST_F(ChangeCommandTest, OneRunsAtATimeAndInOrder) {
    std::vector<Json> facts;
    std::string expected;
    for (int i = 0; i < 5; ++i) {
        facts.push_back(Json{{"number", i}});
        expected += std::to_string(i) + "\n";
    }
    EXPECT_EQ(run(script("mkdir busy || echo twice >> twice\nsleep 0.05\nrmdir busy\n"
                         "echo $LINKOMETRY_NUMBER >> order\n"),
                  facts),
              "");
    EXPECT_EQ(m_folder.read("order"), expected);
    EXPECT_FALSE(m_folder.exists("twice"));
}

TEST_F(ChangeCommandTest, WhatItPrintsDoesNotMixWithTheStandardOutput) {
    testing::internal::CaptureStdout();
    (void)run(script("echo printed\nread line || touch no-input\n"), {Json::object()});
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_TRUE(m_folder.exists("no-input"));
}

TEST_F(ChangeCommandTest, EachFailureIsToldOnce) {
    const std::vector<Json> twice(2, Json::object());
    const SPW_CString none = m_folder.path("none");
    EXPECT_EQ(run(none, twice), "linkometry: the program of -onchange, " + std::string(none.toAnsi()) +
                                    ", cannot be started: No such file or directory\n");
    const SPW_CString failing = script("exit 3\n");
    EXPECT_EQ(run(failing, twice),
              "linkometry: the program of -onchange, " + std::string(failing.toAnsi()) + ", has ended with status 3\n");
    (void)script("kill -TERM $$\n");
    EXPECT_NE(run(failing, twice).find("was ended by signal 15\n"), std::string::npos);
}

TEST_F(ChangeCommandTest, OneThatTakesTooLongIsKilledWithAllThatItHasStarted) {
    m_limits.longestRunMs = 200;
    const auto began = std::chrono::steady_clock::now();
    const std::string told = run(script("sleep 1000 &\necho $! > child\nsleep 1000\n"), {Json::object()});
    EXPECT_NE(told.find("was killed, because it took too long\n"), std::string::npos) << told;
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(60));
    // It is a zombie at most, until the first process of the system has taken its end.
    std::ifstream child("/proc/" + std::to_string(std::stoi("0" + m_folder.read("child"))) + "/stat");
    std::string text((std::istreambuf_iterator<char>(child)), {});
    EXPECT_TRUE(text.empty() || text.find(") Z ") != std::string::npos) << text;
}

TEST_F(ChangeCommandTest, NoMoreBeginWithinAWhileThanAreAllowed) {
    m_limits.mostStarts = 3;
    m_limits.windowMs = 3600000;
    m_limits.endPatienceMs = 1500;
    const std::string told = run(script("echo x >> runs\n"), std::vector<Json>(10, Json::object()));
    EXPECT_LE(linesOf("runs"), 3);
    EXPECT_NE(told.find("was not run for the last events, because the test has ended\n"), std::string::npos) << told;
}

TEST_F(ChangeCommandTest, OfTooManyThatWaitTheOldestAreDropped) {
    m_limits.mostStarts = 100;
    m_limits.mostWaiting = 2;
    std::vector<Json> facts;
    for (int i = 0; i < 20; ++i) {
        facts.push_back(Json{{"number", i}});
    }
    const std::string told = run(script("echo $LINKOMETRY_NUMBER >> runs\nsleep 0.2\n"), facts);
    EXPECT_NE(told.find("is too slow for so many events; the oldest are dropped\n"), std::string::npos) << told;
    const std::string runs = "\n" + m_folder.read("runs");
    EXPECT_NE(runs.find("\n18\n19\n"), std::string::npos) << runs;
    EXPECT_LT(linesOf("runs"), 20);
}

TEST_F(ChangeCommandTest, TheEndWaitsForNoProgramForLong) {
    m_limits.endPatienceMs = 100;
    const auto began = std::chrono::steady_clock::now();
    const std::string told = run(script("echo x >> runs\nsleep 1000\n"), std::vector<Json>(3, Json::object()));
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(60));
    EXPECT_LE(linesOf("runs"), 1);
}

}  // namespace
