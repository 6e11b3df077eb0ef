#include "EngineFixture.h"

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;

namespace {

constexpr SPW_CIpAddress kPeer(10, 0, 0, 7);

class AddedPeersTest : public EngineFixture {};

TEST_F(AddedPeersTest, APeerAddedWhileATestRunsIsProbedAtOnce) {
    select(false, true, false, false);
    engine().start();
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (manually added)"));
    engine().stop();
    EXPECT_THAT(announcementsTo(kPeer), Each(HasSubstr("|device|")));
}

TEST_F(AddedPeersTest, EveryProbeOfAPeerAddedWhileATestRunsStartsAtOnce) {
    select(false, true, true, true);
    m_sockets.listenAt(kPeer, 5009);
    engine().start();
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    EXPECT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    EXPECT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSend, 1));
    m_icmp.waitForRequests(1);
    engine().stop();
    EXPECT_THAT(endAndReadControlLines(), Not(Contains(HasSubstr("failed returned"))));
}

TEST_F(AddedPeersTest, APeerAddedWhileStoppedIsProbedFromTheNextStart) {
    select(false, true, false, false);
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    EXPECT_EQ(m_sockets.calls(ScriptedSocket::kOpenUdp), 0);
    engine().start();
    ASSERT_TRUE(m_sockets.waitForCalls(ScriptedSocket::kSendTo, 1));
    engine().stop();
    engine().start();
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (manually added)")) << "for all further tests";
}

TEST_F(AddedPeersTest, TheRecordsFlagsChooseTheProbes) {
    engine().addPeer(PeerRecord{u"10.0.0.7", u"a", true, false, false});
    engine().addPeer(PeerRecord{u"10.0.0.8", u"b", false, true, false});
    engine().addPeer(PeerRecord{u"10.0.0.9", u"c", false, false, true});
    EXPECT_THAT(endAndReadControlLines(),
                ElementsAre("Created VTR_CUdpConnector to 10.0.0.7", "Created VTR_CTcpipConnector to 10.0.0.8",
                            "Created VTR_CPinger to 10.0.0.9"));
}

TEST_F(AddedPeersTest, AtAStartAllThreeFlagsCountAsSet) {
    select(false, true, true, true);
    engine().addPeer(PeerRecord{u"10.0.0.7", u"a", false, false, false});
    engine().start();
    EXPECT_THAT(endAndReadControlLines(),
                IsSupersetOf({"Created VTR_CUdpConnector to 10.0.0.7", "Created VTR_CTcpipConnector to 10.0.0.7",
                              "Created VTR_CPinger to 10.0.0.7"}));
}

TEST_F(AddedPeersTest, TheSameAddressTwiceMakesTwoRowsAndTwoSetsOfProbes) {
    select(false, true, false, false);
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    engine().addPeer(peer(u"10.0.0.7", u"manually added"));
    EXPECT_THAT(labels(), ElementsAre("10.0.0.7 (manually added)", "10.0.0.7 (manually added)"));
    const std::vector<std::string> log = endAndReadControlLines();
    EXPECT_EQ(std::count(log.begin(), log.end(), "Created VTR_CUdpConnector to 10.0.0.7"), 2);
}

}  // namespace
