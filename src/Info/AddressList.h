#pragma once

#include <optional>

#include "SPW_CArray.h"
#include "SPW_CNetworkInfo.h"
#include "SPW_CString.h"
#include "SystemBuffer.h"

// An address and its mask, both as dotted quads. Either may be unknown.
class AddressEntry {
public:
    // Returns 0, or kAdapterFieldAbsent with `value` unchanged.
    [[nodiscard]] SPW_Result getAddress(SPW_CString& value) const { return copyOut(m_address, value); }
    [[nodiscard]] SPW_Result getMask(SPW_CString& value) const { return copyOut(m_mask, value); }
    void setAddress(const SPW_CString& value) { m_address = value; }
    void setMask(const SPW_CString& value) { m_mask = value; }

private:
    static SPW_Result copyOut(const std::optional<SPW_CString>& half, SPW_CString& value);

    std::optional<SPW_CString> m_address;
    std::optional<SPW_CString> m_mask;
};

using AddressList = SPW_CArray<AddressEntry>;

// Appends an entry for each node that has an address or a mask. Returns the number of the new entries. The nodes lie in
// the buffer; `first` may be null.
int readAddressList(const SystemBuffer& buffer, const SPW_AddressNode* first, AddressList& list);
