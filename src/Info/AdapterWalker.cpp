#include "AdapterWalker.h"

#include <algorithm>

#include "LeaseText.h"
#include "RecordFields.h"

namespace {

SPW_CString macText(const SPW_AdapterRecord& record) {
    const std::size_t length = std::min<std::size_t>(record.addressLength, sizeof record.address);
    SPW_CString text;
    for (std::size_t i = 0; i < length; ++i) {
        SPW_CString pair;
        pair.format(i == 0 ? u"%02x" : u"-%02x", static_cast<unsigned>(record.address[i]));
        text += pair;
    }
    return text;
}

SPW_CString leaseTextUnlessNone(std::intptr_t seconds) {
    return seconds == 0 ? SPW_CString() : leaseText(seconds);
}

}  // namespace

SPW_Result AdapterWalker::begin(AdapterInfo& adapter) {
    m_position.reset();
    const SPW_Result status = m_copy.read(&SPW_CNetworkInfo::adapters);
    if (status != 0) {
        return status;
    }
    m_position.emplace(m_copy, m_copy.first<SPW_AdapterRecord>());
    fill(adapter);
    return 0;
}

SPW_Result AdapterWalker::next(AdapterInfo& adapter) {
    if (!m_position.has_value()) {
        return kWalkNotBegun;
    }
    if (m_position->current() != nullptr) {
        m_position->advance();
    }
    if (m_position->current() == nullptr) {
        return kNoFurtherAdapter;
    }
    fill(adapter);
    return 0;
}

void AdapterWalker::fill(AdapterInfo& adapter) const {
    const SPW_AdapterRecord& system = *m_position->current();
    adapter = AdapterInfo();
    setUnlessEmpty(adapter.name, fieldText(system.adapterName));
    setUnlessEmpty(adapter.description, fieldText(system.description));
    (void)adapter.type.set(system.type);  // without memory it stays absent, like the other fields
    setUnlessEmpty(adapter.macAddress, macText(system));
    setFlag(adapter.dhcpEnabled, system.dhcpEnabled != 0);
    setUnlessEmpty(adapter.ipAddressList, m_copy, &system.ipAddressList);
    setUnlessEmpty(adapter.gatewayList, m_copy, &system.gatewayList);
    setUnlessEmpty(adapter.dhcpServerList, m_copy, &system.dhcpServer);
    setFlag(adapter.usesWins, system.haveWins != 0);
    setUnlessEmpty(adapter.primaryWinsList, m_copy, &system.primaryWinsServer);
    setUnlessEmpty(adapter.secondaryWinsList, m_copy, &system.secondaryWinsServer);
    setUnlessEmpty(adapter.leaseObtained, leaseTextUnlessNone(system.leaseObtained));
    setUnlessEmpty(adapter.leaseExpires, leaseTextUnlessNone(system.leaseExpires));
}
