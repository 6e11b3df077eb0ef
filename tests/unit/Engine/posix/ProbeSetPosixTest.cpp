// The set on a machine that has no thread left.

#include "ProbeSet.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "RecordingSink.h"
#include "RefusedThreads.h"
#include "ScopedInstance.h"
#include "ScriptedSocket.h"

using testing::ElementsAre;

namespace {

// Keeps the lines, and acts when a certain one comes.
class ActingOwner : public ProbeSet::Owner {
public:
    void onProbeLine(const SPW_CString& line) override {
        m_lines.emplace_back(line.toAnsi());
        if (m_lines.back() == m_awaited) {
            m_act();
        }
    }
    void onProbeNotMade(const ProbeNotMade&) override {}
    void onListenerNotStarted(Protocol, const SPW_CString&) override {}

    void actOn(const std::string& line, std::function<void()> act) {
        m_awaited = line;
        m_act = std::move(act);
    }
    const std::vector<std::string>& lines() const { return m_lines; }

private:
    std::string m_awaited;
    std::function<void()> m_act;
    std::vector<std::string> m_lines;
};

}  // namespace

TEST(ProbeSetPosixTest, AStartThatFailsQuotesItsOwnProbeThoughAnotherPeersProbesAreRetiredMeanwhile) {
    ScriptedSocket sockets;
    const ScopedInstance<SPW_CSocket> installed(sockets);
    RecordingSink sink;
    ActingOwner owner;
    ProbeSet set(sink, owner);
    SPW_CArray<std::int32_t> firstRow;
    firstRow.append(1);
    owner.actOn("Created VTR_CUdpConnector to 10.0.0.2", [&] { set.retire(firstRow); });
    ProbePlan plan;
    plan.udp = true;
    ProbedPeer peer;
    peer.address = u"10.0.0.1";
    peer.row = 1;
    set.makePeerProbes(peer, plan);
    const RefusedThreads refused;
    peer.address = u"10.0.0.2";
    peer.row = 2;
    peer.isTestRunning = true;
    set.makePeerProbes(peer, plan);
    EXPECT_THAT(owner.lines(),
                ElementsAre("Created VTR_CUdpConnector to 10.0.0.1", "Created VTR_CUdpConnector to 10.0.0.2",
                            "UDP StartSending failed returned thread failed 8"));
}
