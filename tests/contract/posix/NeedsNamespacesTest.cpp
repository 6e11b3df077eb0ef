#include "NeedsNamespaces.h"

#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

using testing::HasSubstr;

namespace {

// The variable of the environment, as long as the object lives.
class Integration {
public:
    explicit Integration(const char* value) {
        if (const char* former = std::getenv("CI")) {
            m_former = former;
        }
        value == nullptr ? unsetenv("CI") : setenv("CI", value, 1);
    }
    ~Integration() { m_former ? setenv("CI", m_former->c_str(), 1) : unsetenv("CI"); }
    Integration(const Integration&) = delete;
    Integration& operator=(const Integration&) = delete;

private:
    std::optional<std::string> m_former;
};

void needNamespaces(bool isThere) {
    SKIP_OUTSIDE_NAMESPACES(isThere, "there is none");
    ADD_FAILURE() << "the test ran";
}

// What a test with that need has reported.
testing::TestPartResult resultOf(bool isThere, const char* integration) {
    const Integration environment(integration);
    testing::TestPartResultArray results;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        needNamespaces(isThere);
    }
    EXPECT_EQ(results.size(), 1);
    return results.GetTestPartResult(0);
}

TEST(NeedsNamespacesTest, WithNamespacesATestRunsEverywhere) {
    EXPECT_THAT(resultOf(true, nullptr).message(), HasSubstr("the test ran"));
    EXPECT_THAT(resultOf(true, "true").message(), HasSubstr("the test ran"));
}

TEST(NeedsNamespacesTest, WithoutThemATestIsSkippedWithTheReason) {
    for (const char* integration : {static_cast<const char*>(nullptr), "", "false"}) {
        const testing::TestPartResult result = resultOf(false, integration);
        EXPECT_TRUE(result.skipped());
        EXPECT_THAT(result.message(), HasSubstr("there is none"));
    }
}

TEST(NeedsNamespacesTest, WithoutThemATestOfTheIntegrationFails) {
    const testing::TestPartResult result = resultOf(false, "true");
    EXPECT_TRUE(result.fatally_failed());
    EXPECT_THAT(result.message(), HasSubstr("with CI=true: there is none"));
}

}  // namespace
