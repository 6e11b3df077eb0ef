// Runs one probe object against a peer and prints what it tells beside its prescribed reports, a line each:
//
//     linkometry-probe-witness ping ADDRESS PERIOD_MS
//         reply ROUND_TRIP_US TIME_TO_LIVE
//     linkometry-probe-witness tcp ADDRESS PORT PERIOD_MS
//         out STATE CODE AGE_MS PACKETS TIMEOUTS
//
// It runs until its standard input ends.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "ProbeEventSink.h"
#include "VTR_CPinger.h"
#include "VTR_CTcpipConnector.h"

namespace {

class Printer final : public ProbeEventSink {
public:
    void onSocketError(ProbeKind, std::uint32_t, const SPW_CString&, SPW_Result, const SPW_CString&) override {}
    void onDataReceived(ProbeKind, std::uint32_t, const SPW_CString&, std::int32_t, const SPW_CString&) override {}
    void onDataSent(ProbeKind, std::uint32_t, const SPW_CString&, std::int32_t, const SPW_CString&) override {}

    void onReplyMeasured(const SPW_CString&, std::uint32_t roundTripUs, std::uint8_t timeToLive) override {
        std::printf("reply %u %u\n", roundTripUs, static_cast<unsigned>(timeToLive));
        (void)std::fflush(stdout);
    }
    void onOutState(ProbeKind, const SPW_CString&, const ProbeOut& out) override {
        std::printf("out %u %u %u %u %u\n", static_cast<unsigned>(out.state), static_cast<unsigned>(out.code),
                    out.ageMs, out.packets, out.timeouts);
        (void)std::fflush(stdout);
    }
};

}  // namespace

int main(int count, char** arguments) {
    const std::string what = count > 1 ? arguments[1] : "";
    Printer printer;
    std::unique_ptr<Probe> probe;
    if (what == "ping" && count == 4) {
        probe = std::make_unique<VTR_CPinger>(&printer, SPW_CString(arguments[2]), std::atoi(arguments[3]), 56);
    } else if (what == "tcp" && count == 5) {
        probe = std::make_unique<VTR_CTcpipConnector>(&printer, SPW_CString(arguments[2]),
                                                      static_cast<std::uint32_t>(std::atoi(arguments[3])),
                                                      SPW_CString("witness"), std::atoi(arguments[4]));
    }
    if (probe == nullptr || probe->startProbe() != 0) {
        (void)std::fputs("usage: linkometry-probe-witness ping ADDRESS PERIOD_MS | tcp ADDRESS PORT PERIOD_MS\n",
                         stderr);
        return 2;
    }
    while (std::getchar() != EOF) {
    }
    return probe->stopProbe() == 0 ? 0 : 1;
}
