#include "ReportFields.h"

namespace {

SPW_CString orNotSet(SPW_Result status, const SPW_CString& value) {
    return status == 0 ? value : SPW_CString(u"Not Set");
}

}  // namespace

void printText(ReportLines& lines, const char16_t* label, const SPW_CString& value) {
    lines.line(SPW_CString(label) + value);
}

void printNumber(ReportLines& lines, const char16_t* label, std::int32_t value) {
    lines.line(SPW_CString(label) + static_cast<long>(value));
}

void printFlag(ReportLines& lines, const char16_t* label, std::uint8_t flag) {
    printText(lines, label, flag == 1 ? u"yes" : u"no");
}

void printAddress(ReportLines& lines, const char16_t* label, const AddressEntry& entry) {
    SPW_CString address;
    SPW_CString mask;
    const SPW_Result addressStatus = entry.getAddress(address);
    const SPW_Result maskStatus = entry.getMask(mask);
    lines.line(SPW_CString(label) + orNotSet(addressStatus, address) + u" subnet mask: " + orNotSet(maskStatus, mask));
}

void printValue(ReportLines& lines, const char16_t* label, const SPW_CString& value) {
    printText(lines, label, value);
}

void printValue(ReportLines& lines, const char16_t* label, std::uint32_t value) {
    lines.line(SPW_CString(label) + static_cast<unsigned long>(value));
}

void printValue(ReportLines& lines, const char16_t* label, std::uint8_t flag) {
    printFlag(lines, label, flag);
}

void printValue(ReportLines& lines, const char16_t* label, const AddressList& list) {
    for (int i = 0; i < list.numberOfElements(); ++i) {
        printAddress(lines, label, list[i]);
    }
}
