#include "PeerArguments.h"

#include <gmock/gmock.h>

#include <memory>

#include <string>
#include <vector>

#include "SPW_CSysError.h"
#include "ScopedInstance.h"
#include "ScriptedSocket.h"
#include "SilentSink.h"
#include "StringPrinting.h"
#include "TemporaryRegistry.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// An engine that is never started, on a network in memory where three hosts have names.
class PeerArgumentsTest : public testing::Test {
protected:
    PeerArgumentsTest() {
        m_sockets.addHost(u"printer.local", {SPW_CIpAddress(10, 0, 0, 7)});
        m_sockets.addHost(u"twins", {SPW_CIpAddress(10, 0, 0, 8), SPW_CIpAddress(10, 0, 0, 9)});
    }
    PeerAdded add(const char16_t* address, const char16_t* name = u"name") {
        if (m_engine == nullptr) {
            m_engine = std::make_unique<TestEngine>(&m_sink, false);
        }
        return addPeer(*m_engine, PeerRecord{address, name, true, true, true}, m_why);
    }
    std::vector<std::string> labels() const {
        SPW_CArray<PeerRowValues> rows;
        m_engine->snapshot(rows);
        std::vector<std::string> result;
        for (int i = 0; i < rows.numberOfElements(); ++i) {
            result.emplace_back(rows[i].label().toAnsi());
        }
        return result;
    }

    TemporaryRegistry m_registry;
    ScriptedSocket m_sockets;
    ScopedInstance<SPW_CSocket> m_socketsInstalled{m_sockets};
    SilentSink m_sink;
    std::unique_ptr<TestEngine> m_engine;
    SPW_CString m_why;
};

TEST_F(PeerArgumentsTest, AnAddressIsAddedAsItIs) {
    EXPECT_EQ(add(u"10.0.0.5", u"a"), PeerAdded::kYes);
    EXPECT_TRUE(m_why.isEmpty());
    EXPECT_THAT(labels(), ElementsAre("10.0.0.5 (a)"));
}

TEST_F(PeerArgumentsTest, AHostIsAddedWithItsFirstAddress) {
    EXPECT_EQ(add(u"printer.local", u"a"), PeerAdded::kYes);
    EXPECT_EQ(add(u"twins", u"b"), PeerAdded::kYes);
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (a)", "10.0.0.8 (b)"));
}

TEST_F(PeerArgumentsTest, AHostThatNobodyKnowsIsToldInWords) {
    EXPECT_EQ(add(u"nobody"), PeerAdded::kNotFound);
    EXPECT_EQ(m_why, SPW_CString(u"cannot find the peer nobody: ") + SPW_CSysError::instance->text(kSockHostNotFound));
    EXPECT_THAT(labels(), IsEmpty());
}

TEST_F(PeerArgumentsTest, WhatIsGivenTwiceIsTakenOnce) {
    EXPECT_EQ(add(u"10.0.0.7", u"a"), PeerAdded::kYes);
    EXPECT_EQ(add(u"10.0.0.7", u"b"), PeerAdded::kKnown);
    EXPECT_EQ(m_why, SPW_CString(u"10.0.0.7 is a peer already; it is taken once"));
    EXPECT_EQ(add(u"printer.local", u"c"), PeerAdded::kKnown);
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (a)"));
}

TEST_F(PeerArgumentsTest, WhatTheSettingsNameIsTakenFromThere) {
    m_registry.setNamedPeer(u"the printer", u"10.0.0.7");
    EXPECT_EQ(add(u"10.0.0.7"), PeerAdded::kKnown);
    EXPECT_THAT(labels(), IsEmpty());
}

TEST_F(PeerArgumentsTest, WhatTheSettingsNameButAreToldToLeaveOutIsAdded) {
    m_registry.setNamedPeer(u"the printer", u"10.0.0.7");
    m_registry.setSetting(u"peer set includes named-ip-addresses", u"no");
    EXPECT_EQ(add(u"10.0.0.7"), PeerAdded::kYes);
}

}  // namespace
