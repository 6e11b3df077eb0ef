#include "Rights.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <string>
#include <thread>

#include "SPW_CIcmp.h"
#include "ScopedInstance.h"
#include "ScriptedIcmp.h"
#include "StringPrinting.h"

namespace {

// A field of the calling thread's /proc/*/status.
std::string fieldOfThread(const std::string& name) {
    std::ifstream status("/proc/thread-self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(name + ":\t", 0) == 0) {
            return line.substr(name.size() + 2);
        }
    }
    return "";
}

std::uint64_t capabilities(const std::string& set) {
    return std::stoull(fieldOfThread(set), nullptr, 16);
}

// Notes with which rights it was opened ahead.
class WitnessingIcmp : public ScriptedIcmp {
public:
    void openAhead() override {
        ++m_times;
        m_rights = capabilities("CapEff");
    }

    int m_times = 0;
    std::uint64_t m_rights = 0;
};

// Rights belong to a thread.
class RightsTest : public testing::Test {
protected:
    template <typename Function>
    static void inThreadOfItsOwn(const Function& function) {
        std::thread(function).join();
    }

    WitnessingIcmp m_icmp;
    const ScopedInstance<SPW_CIcmp> m_instance{m_icmp};
};

TEST_F(RightsTest, WhoeverIsNotRootHasNoneLeftAndRootThoseToFilesAndPorts) {
    inThreadOfItsOwn([] {
        const std::uint64_t files = 1u << CAP_CHOWN | 1u << CAP_DAC_OVERRIDE | 1u << CAP_FOWNER;
        const std::uint64_t left = geteuid() == 0 ? files | 1u << CAP_NET_BIND_SERVICE : 0;
        const std::uint64_t before = capabilities("CapPrm");
        SPW_CString why;
        EXPECT_TRUE(giveUpRights(SPW_CString(), why)) << why.toAnsi();
        EXPECT_EQ(capabilities("CapPrm"), before & left);
        EXPECT_EQ(capabilities("CapEff"), before & left);
        EXPECT_EQ(capabilities("CapInh"), 0u);
        EXPECT_EQ(capabilities("CapAmb"), 0u);
        EXPECT_EQ(fieldOfThread("NoNewPrivs"), "1");
    });
}

TEST_F(RightsTest, TheSocketForPingsIsOpenedOnceWhileTheRightsAreThere) {
    inThreadOfItsOwn([this] {
        const std::uint64_t before = capabilities("CapEff");
        SPW_CString why;
        EXPECT_TRUE(giveUpRights(SPW_CString(), why)) << why.toAnsi();
        EXPECT_EQ(m_icmp.m_times, 1);
        EXPECT_EQ(m_icmp.m_rights, before);
    });
}

TEST_F(RightsTest, AUserWhoIsNotKnownIsRefusedByName) {
    inThreadOfItsOwn([] {
        SPW_CString why;
        EXPECT_FALSE(giveUpRights(u"no-such-user", why));
        EXPECT_EQ(why, SPW_CString(u"-user: there is no user \"no-such-user\""));
    });
}

TEST_F(RightsTest, WithoutAChangeOfUserNothingIsToldOfTheSettings) {
    EXPECT_TRUE(settingsProblemOf(SPW_CString()).isEmpty());
}

}  // namespace
