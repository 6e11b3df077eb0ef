#include "PeerTable.h"

#include <algorithm>
#include <limits>

#include "ForeignText.h"
#include "TextHash.h"

namespace {

constexpr int kFirstSlots = 64;

// The report's second figure of a pair is deliberately not the total that the list shows, but total plus lost.
int totalPlusLost(const ProtocolCounts& counts) {
    const std::int64_t sum = std::int64_t{counts.total} + counts.lost;
    return static_cast<int>(std::min<std::int64_t>(sum, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

PeerRow::PeerRow(std::int32_t number, const SPW_CString& address, const SPW_CString& name, bool hasName)
    : m_number(number), m_address(address), m_name(showableText(name)), m_hasName(hasName) {}

void PeerRow::reset() {
    for (SequenceCounter& counter : m_counters) {
        counter.reset();
    }
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
    values.address = showableText(m_address);
    values.name = m_name;
    values.hasName = m_hasName;
    values.quality = quality();
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        const SequenceCounter& counter = m_counters[protocol];
        values.counts[protocol] = {counter.received(), counter.total(), counter.lost()};
        values.isNotMade[protocol] = m_isNotMade[protocol];
    }
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

std::int32_t PeerTable::addNamed(const SPW_CString& address, const SPW_CString& name) {
    return add(address, name, true);
}

std::int32_t PeerTable::addDiscovered(const SPW_CString& address, const SPW_CString& name) {
    return add(address, name, !name.isEmpty());
}

void PeerTable::clear() {
    for (int i = 0; i < size(); ++i) {
        delete m_rows[i];
    }
    m_firstNumber += size();
    m_rows.clear();
    m_slots.clear();
}

std::int32_t PeerTable::add(const SPW_CString& address, const SPW_CString& name, bool hasName) {
    if ((size() + 1) * 2 > m_slots.numberOfElements()) {
        grow();
    }
    const std::int32_t number = m_firstNumber + size();
    m_rows.append(new PeerRow(number, address, name, hasName));
    std::int32_t& entry = m_slots[slotOf(address)];
    if (entry == 0) {
        entry = size();
    }
    return number;
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
    const int slots = std::max(kFirstSlots, m_slots.numberOfElements() * 2);
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
