#include "PeerTable.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "ForeignText.h"
#include "TextHash.h"

namespace {

constexpr int kFirstSlots = 64;
constexpr std::int32_t kLastNumber = std::numeric_limits<std::int32_t>::max();
// A test that begins below this one has as many numbers again.
constexpr std::int32_t kLastFirstNumber = kLastNumber / 2;

// The report's second figure of a pair is deliberately not the total that the list shows, but total plus lost.
int totalPlusLost(const ProtocolCounts& counts) {
    const std::int64_t sum = std::int64_t{counts.total} + counts.lost;
    return static_cast<int>(std::min<std::int64_t>(sum, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

PeerRow::PeerRow(std::int32_t number, const SPW_CString& address, const SPW_CString& name, bool hasName, State state,
                 int* dispensable)
    : m_number(number),
      m_address(address),
      m_shownAddress(showableText(address)),
      m_name(showableText(name)),
      m_hasName(hasName),
      m_state(state),
      m_dispensable(dispensable) {
    count(1);
}

void PeerRow::setState(State state) {
    count(-1);
    m_state = state;
    count(1);
}

void PeerRow::record(int protocol, std::int32_t sequence) {
    m_counters[protocol].record(sequence);
    count(-1);
    m_hasAnswered = true;
    count(1);
    m_silentSeconds = 0;
}

// -1 before a change, 1 after it.
void PeerRow::count(int difference) {
    if (m_dispensable != nullptr && isDispensable()) {
        *m_dispensable += difference;
    }
}

// A call may be late. A row that was heard since the last one may have been heard just now.
std::int64_t PeerRow::passSeconds(std::int64_t seconds) {
    m_silentSeconds += m_silentSeconds == 0 ? std::min<std::int64_t>(seconds, 1) : seconds;
    return m_silentSeconds;
}

void PeerRow::forgetNotMade() {
    std::fill(std::begin(m_isNotMade), std::end(m_isNotMade), false);
}

void PeerRow::reset() {
    for (SequenceCounter& counter : m_counters) {
        counter.reset();
    }
    m_insight.reset();
}

// 0 before the first probe.
int PeerRow::quality() const {
    std::int64_t total = 0;
    std::int64_t received = 0;
    for (const SequenceCounter& counter : m_counters) {
        total += counter.total();
        received += counter.received();
    }
    return total == 0 ? 0 : static_cast<int>(received * 100 / total);
}

PeerRowValues PeerRow::values() const {
    PeerRowValues values;
    values.number = m_number;
    values.address = m_shownAddress;
    values.name = m_name;
    values.hasName = m_hasName;
    values.quality = quality();
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        const SequenceCounter& counter = m_counters[protocol];
        values.counts[protocol] = {counter.received(), counter.total(), counter.lost()};
        values.isNotMade[protocol] = m_isNotMade[protocol];
    }
    values.summary = m_insight.summary();
    return values;
}

SPW_CString PeerRow::reportLine() const {
    const PeerRowValues row = values();
    const ProtocolCounts& multicast = row.counts[kMulticast];
    const ProtocolCounts& tcpip = row.counts[kTcpip];
    const ProtocolCounts& udp = row.counts[kUdp];
    const ProtocolCounts& ping = row.counts[kPing];
    SPW_CString line;
    line.format(
        u"S Name: %-30.30s Quality: %3d%% Multicast: %5d / %-5d Tcpip: %5d / %-5d Udp: %5d / %-5d Ping: %5d / %-5d",
        row.label().text(), row.quality, multicast.total, totalPlusLost(multicast), tcpip.total, totalPlusLost(tcpip),
        udp.total, totalPlusLost(udp), ping.total, totalPlusLost(ping));
    return line;
}

PeerRow* PeerTable::find(const SPW_CString& address) {
    if (size() == 0) {
        return nullptr;
    }
    const std::int32_t entry = m_slots[slotOf(address)];
    return entry == 0 ? nullptr : m_rows[entry - 1];
}

PeerRow* PeerTable::numbered(std::int32_t number) {
    const int index = firstFrom(number);
    return index < size() && m_rows[index]->number() == number ? m_rows[index] : nullptr;
}

const PeerRow* PeerTable::numbered(std::int32_t number) const {
    return const_cast<PeerTable*>(this)->numbered(number);
}

PeerRow* PeerTable::following(std::int32_t number) {
    const int index = firstFrom(number + 1);
    return index < size() ? m_rows[index] : nullptr;
}

std::int32_t PeerTable::addNamed(const SPW_CString& address, const SPW_CString& name) {
    return add(address, name, true, PeerRow::kKept);
}

std::int32_t PeerTable::addDiscovered(const SPW_CString& address, const SPW_CString& name) {
    ++m_discovered;
    return add(address, name, !name.isEmpty(), PeerRow::kIncomplete);
}

bool PeerTable::hasNumberForDiscovered() const {
    return m_nextNumber <= kLastNumber - kKeptNumbers;
}

PeerRow* PeerTable::dispensable() {
    PeerRow* resting = nullptr;
    for (int i = 0; i < size(); ++i) {
        PeerRow* const row = m_rows[i];
        if (row->isDispensable() && row->state() != PeerRow::kResting) {
            return row;
        }
        if (row->isDispensable() && resting == nullptr) {
            resting = row;
        }
    }
    return resting;
}

void PeerTable::remove(std::int32_t number) {
    const int index = firstFrom(number);
    m_discovered -= m_rows[index]->state() == PeerRow::kKept ? 0 : 1;
    delete m_rows[index];
    m_rows.removeElementAt(index);
    fillSlots(m_slots.numberOfElements());
}

void PeerTable::passSeconds(std::int64_t seconds, std::int64_t secondsToRest, Numbers& rested) {
    for (int i = 0; i < size(); ++i) {
        PeerRow& row = *m_rows[i];
        if (row.state() == PeerRow::kProbed && row.passSeconds(seconds) >= secondsToRest && secondsToRest > 0) {
            row.setState(PeerRow::kResting);
            rested.append(row.number());
        }
    }
}

void PeerTable::clear() {
    for (int i = 0; i < size(); ++i) {
        delete m_rows[i];
    }
    m_rows.clear();
    m_slots.clear();
    m_discovered = 0;
    m_nextNumber = m_nextNumber > kLastFirstNumber ? 1 : m_nextNumber;
}

std::int32_t PeerTable::add(const SPW_CString& address, const SPW_CString& name, bool hasName, PeerRow::State state) {
    if ((size() + 1) * 2 > m_slots.numberOfElements()) {
        grow();
    }
    const std::int32_t number = m_nextNumber++;
    m_rows.append(new PeerRow(number, address, name, hasName, state, &m_dispensables));
    std::int32_t& entry = m_slots[slotOf(address)];
    if (entry == 0) {
        entry = size();
    }
    return number;
}

// The index of the first row with this number or a greater one.
int PeerTable::firstFrom(std::int32_t number) const {
    int low = 0;
    int high = size();
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (m_rows[middle]->number() < number) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

// The slot that holds the first row with this address, or the free one where it belongs.
int PeerTable::slotOf(const SPW_CString& address) const {
    const std::uint32_t mask = static_cast<std::uint32_t>(m_slots.numberOfElements()) - 1;
    std::uint32_t slot = textHash(address) & mask;
    for (;;) {
        const std::int32_t entry = m_slots[static_cast<int>(slot)];
        if (entry == 0 || m_rows[entry - 1]->address() == address) {
            return static_cast<int>(slot);
        }
        slot = (slot + 1) & mask;
    }
}

void PeerTable::grow() {
    fillSlots(std::max(kFirstSlots, m_slots.numberOfElements() * 2));
}

void PeerTable::fillSlots(int slots) {
    m_slots.clear();
    for (int i = 0; i < slots; ++i) {
        m_slots.append(0);
    }
    for (int i = 0; i < size(); ++i) {
        std::int32_t& entry = m_slots[slotOf(m_rows[i]->address())];
        if (entry == 0) {
            entry = i + 1;
        }
    }
}
