#pragma once

#include "AddressList.h"
#include "OptionalField.h"

// Fill a record's fields from the system's data. A field without memory for its value stays absent: the report shows it
// as "Not Set" and goes on.

template <SPW_Result kAbsent>
void setUnlessEmpty(OptionalField<SPW_CString, kAbsent>& field, const SPW_CString& text) {
    if (!text.isEmpty()) {
        (void)field.set(text);
    }
}

template <SPW_Result kAbsent>
void setFlag(OptionalField<std::uint8_t, kAbsent>& field, bool flag) {
    (void)field.set(flag ? 1 : 0);
}

template <SPW_Result kAbsent>
void setUnlessEmpty(OptionalField<AddressList, kAbsent>& field, const SystemBuffer& buffer,
                    const SPW_AddressNode* first) {
    AddressList list;
    if (readAddressList(buffer, first, list) > 0) {
        (void)field.set(list);
    }
}
