#include "PeerTable.h"

#include <algorithm>
#include <limits>

#include "ForeignText.h"
#include "TextHash.h"

namespace {

constexpr int kFirstSlots = 64;

SPW_CString namedLabel(const SPW_CString& address, const SPW_CString& name) {
    return address + u" (" + name + u")";
}

// The report's second figure of a pair is deliberately not the total that the list shows, but total plus lost.
int totalPlusLost(const SequenceCounter& counter) {
    const std::int64_t sum = static_cast<std::int64_t>(counter.total()) + counter.lost();
    return static_cast<int>(std::min<std::int64_t>(sum, std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

PeerRow::PeerRow(const SPW_CString& address, const SPW_CString& name, const SPW_CString& label)
    : m_address(address), m_name(showableText(name)), m_label(showableText(label)) {}

void PeerRow::reset() {
    for (SequenceCounter& counter : m_counters) {
        counter.reset();
    }
}

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
    values.address = showableText(m_address);
    values.name = m_name;
    values.label = m_label;
    values.quality = quality();
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        const SequenceCounter& counter = m_counters[protocol];
        values.counts[protocol] = {counter.received(), counter.total(), counter.lost()};
        values.isNotMade[protocol] = m_isNotMade[protocol];
    }
    return values;
}

SPW_CString PeerRow::reportLine() const {
    const SequenceCounter& multicast = m_counters[kMulticast];
    const SequenceCounter& tcpip = m_counters[kTcpip];
    const SequenceCounter& udp = m_counters[kUdp];
    const SequenceCounter& ping = m_counters[kPing];
    SPW_CString line;
    line.format(
        u"S Name: %-30.30s Quality: %3d%% Multicast: %5d / %-5d Tcpip: %5d / %-5d Udp: %5d / %-5d Ping: %5d / %-5d",
        m_label.text(), quality(), multicast.total(), totalPlusLost(multicast), tcpip.total(), totalPlusLost(tcpip),
        udp.total(), totalPlusLost(udp), ping.total(), totalPlusLost(ping));
    return line;
}

PeerRow* PeerTable::find(const SPW_CString& address) {
    if (size() == 0) {
        return nullptr;
    }
    const std::int32_t entry = m_slots[slotOf(address)];
    return entry == 0 ? nullptr : m_rows[entry - 1];
}

void PeerTable::addNamed(const SPW_CString& address, const SPW_CString& name) {
    add(address, name, namedLabel(address, name));
}

void PeerTable::addDiscovered(const SPW_CString& address, const SPW_CString& name) {
    add(address, name, name.isEmpty() ? address : namedLabel(address, name));
}

void PeerTable::empty() {
    for (int i = 0; i < size(); ++i) {
        delete m_rows[i];
    }
    m_rows.empty();
    m_slots.empty();
}

void PeerTable::add(const SPW_CString& address, const SPW_CString& name, const SPW_CString& label) {
    if ((size() + 1) * 2 > m_slots.numberOfElements()) {
        grow();
    }
    m_rows.append(new PeerRow(address, name, label));
    std::int32_t& entry = m_slots[slotOf(address)];
    if (entry == 0) {
        entry = size();
    }
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
    m_slots.empty();
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
