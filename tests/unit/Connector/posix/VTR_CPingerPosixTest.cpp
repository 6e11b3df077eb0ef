// The pinger of a machine that has no memory left.

#include <gmock/gmock.h>

#include <atomic>
#include <cstddef>

#include "DrivenProbe.h"
#include "RecordingSink.h"
#include "SPW_CSysError.h"
#include "ScopedInstance.h"
#include "ScriptedClock.h"
#include "ScriptedIcmp.h"
#include "ScriptedSocket.h"
#include "VTR_CPinger.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr int kPlenty = -1;

// How many buffers there are still.
std::atomic<int> buffersLeft{kPlenty};

}  // namespace

// The linker sends the program's calls of calloc here (--wrap).
extern "C" void* __real_calloc(std::size_t, std::size_t);
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size) {
    if (buffersLeft == 0) {
        return nullptr;
    }
    if (buffersLeft > 0) {
        --buffersLeft;
    }
    return __real_calloc(count, size);
}

namespace {

TEST(PingerPosixTest, EitherBufferThatCannotBeHadIsReportedAndNothingSent) {
    ScriptedClock clock;
    ScriptedSocket sockets;
    const ScopedInstance<SPW_CSocket> socketsInstalled{sockets};
    ScriptedIcmp icmp;
    const ScopedInstance<SPW_CIcmp> icmpInstalled{icmp};
    RecordingSink sink;
    for (const int buffers : {0, 1}) {
        DrivenPinger<VTR_CPinger> pinger(&sink, u"10.0.0.2", 0, 32);
        // Twice, since a buffer that could be had the first time is kept.
        for (int i = 0; i < 2; ++i) {
            buffersLeft = buffers;
            pinger.pingStep();
            buffersLeft = kPlenty;
        }
        EXPECT_THAT(sink.take(), ElementsAre("sent 6 0 10.0.0.2 #0: ", "error 6 0 10.0.0.2 8: running short of memory",
                                             "sent 6 0 10.0.0.2 #1: ", "error 6 0 10.0.0.2 8: running short of memory"))
            << buffers;
    }
    EXPECT_THAT(icmp.requests(), IsEmpty());
    EXPECT_EQ(icmp.openServices(), 0);
}

}  // namespace
