#include "PatientPoll.h"

#include <cerrno>
#include <cstdint>

#include "SPW_CClock.h"

namespace {

constexpr std::uint32_t kRefusedMs = 10;

}  // namespace

int patientPoll(pollfd* sources, nfds_t count, int timeoutMs) {
    int result;
    do {
        result = poll(sources, count, timeoutMs);
    } while (result < 0 && errno == EINTR);
    if (result < 0) {
        SPW_CClock::instance->sleepMs(kRefusedMs);
    }
    return result;
}
