#include "OperatingSystemText.h"

#include "SPW_CSystemInfo.h"

namespace {

// The deliberate blanks around the service pack stay when it is empty.
SPW_CString versionTail(const SPW_OsVersion& version) {
    SPW_CString text(u"version ");
    text += static_cast<unsigned long>(version.major);
    text += u'.';
    text += static_cast<unsigned long>(version.minor);
    text += u' ';
    text += version.servicePack;
    text += u" Build ";
    text += static_cast<unsigned long>(version.build & 0xFFFF);
    return text;
}

const char16_t* windows9xName(const SPW_OsVersion& version) {
    const bool is95 = version.major < 5 && (version.major != 4 || version.minor == 0);
    return is95 ? u"Microsoft Windows 95 " : u"Microsoft Windows 98 ";
}

// Systems later than XP have a product type and a version, but deliberately no name of their own.
const char16_t* windowsNtName(const SPW_OsVersion& version) {
    if (version.major != 5) {
        return version.major < 5 ? u"Microsoft Windows NT " : u"";
    }
    switch (version.minor) {
        case 0:
            return u"Microsoft Windows 2000 ";
        case 1:
            return u"Microsoft Windows XP ";
        default:
            return u"Microsoft Windows ";
    }
}

const char16_t* productName() {
    const SPW_CString type = SPW_CSystemInfo::instance->productType();
    if (type.compareNoCase(u"WINNT") == 0) {
        return u"Workstation ";
    }
    return type.compareNoCase(u"SERVERNT") == 0 ? u"Server " : u"";
}

}  // namespace

SPW_CString operatingSystemText() {
    SPW_OsVersion version;
    if (!SPW_CSystemInfo::instance->osVersion(version)) {
        return SPW_CString();
    }
    switch (version.platform) {
        case kOsWin32s:
            return u"Microsoft Win32s ";
        case kOsWindows9x:
            return SPW_CString(windows9xName(version)) + versionTail(version);
        case kOsWindowsNt:
            return SPW_CString(windowsNtName(version)) + productName() + versionTail(version);
        case kOsWindowsCe:
            return SPW_CString(u"Microsoft Pocket PC ") + versionTail(version);
        case kOsLinux:
            return SPW_CString(u"Linux ") + versionTail(version);
        default:
            return u"Unknown system";
    }
}
