#pragma once

#include <cstdint>

#include "AddressList.h"
#include "OptionalField.h"
#include "ReportLines.h"
#include "SPW_CString.h"

// The report's fields: a label and its value. The label includes its indent, colon and blank.

void printText(ReportLines& lines, const char16_t* label, const SPW_CString& value);
void printNumber(ReportLines& lines, const char16_t* label, std::int32_t value);
// 1 is "yes", everything else "no".
void printFlag(ReportLines& lines, const char16_t* label, std::uint8_t flag);
// An unknown address or mask is "Not Set".
void printAddress(ReportLines& lines, const char16_t* label, const AddressEntry& entry);

// The same, chosen by the type of the value. A list has a line for each entry.
void printValue(ReportLines& lines, const char16_t* label, const SPW_CString& value);
void printValue(ReportLines& lines, const char16_t* label, std::uint32_t value);
void printValue(ReportLines& lines, const char16_t* label, std::uint8_t flag);
void printValue(ReportLines& lines, const char16_t* label, const AddressList& list);

template <typename T, SPW_Result kAbsent>
void printField(ReportLines& lines, const char16_t* label, const OptionalField<T, kAbsent>& field,
                const char16_t* absent = u"Not Set") {
    T value{};
    if (field.get(value) == 0) {
        printValue(lines, label, value);
    } else {
        printText(lines, label, absent);
    }
}
