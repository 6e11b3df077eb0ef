#include "AddressList.h"

SPW_Result AddressEntry::copyOut(const std::optional<SPW_CString>& half, SPW_CString& value) {
    if (!half.has_value()) {
        return kAdapterFieldAbsent;
    }
    value = *half;
    return 0;
}

int readAddressList(const SystemBuffer& buffer, const SPW_AddressNode* first, AddressList& list) {
    int appended = 0;
    for (RecordChain<SPW_AddressNode> node(buffer, first); node.current() != nullptr; node.advance()) {
        const SPW_CString address = fieldText(node.current()->address);
        const SPW_CString mask = fieldText(node.current()->mask);
        if (address.isEmpty() && mask.isEmpty()) {
            continue;
        }
        AddressEntry entry;
        if (!address.isEmpty()) {
            entry.setAddress(address);
        }
        if (!mask.isEmpty()) {
            entry.setMask(mask);
        }
        list.append(entry);
        ++appended;
    }
    return appended;
}
