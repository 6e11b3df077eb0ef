#include "LeaseText.h"

#include "SPW_CClock.h"
#include "SPW_CSystemInfo.h"

namespace {

constexpr std::int64_t k100nsPerSecond = 10000000;
constexpr std::int64_t kLastSecond = 910670515199;  // of the year 30827, the calendar's last
constexpr int kPartLimit = 100;                     // characters

}  // namespace

SPW_CString leaseText(std::int64_t secondsSince1970) {
    if (secondsSince1970 < -SPW_CClock::kSecondsFrom1601To1970 || secondsSince1970 > kLastSecond) {
        return SPW_CString();
    }
    const std::int64_t count100ns = (secondsSince1970 + SPW_CClock::kSecondsFrom1601To1970) * k100nsPerSecond;
    const SPW_CalendarTime local = SPW_CClock::instance->toLocal(static_cast<std::uint64_t>(count100ns));
    return SPW_CSystemInfo::instance->shortDate(local).left(kPartLimit) + u" " +
           SPW_CSystemInfo::instance->shortTime(local).left(kPartLimit);
}
