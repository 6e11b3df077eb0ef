#include <windows.h>

#include <cstdlib>

#include "SPW_CImmortal.h"
#include "SPW_CRegistry.h"
#include "SPW_CSystemInfo.h"
#include "SPW_CWideW32.h"

namespace {

constexpr int kLongestDateOrTime = 100;

SYSTEMTIME toSystemTime(const SPW_CalendarTime& time) {
    SYSTEMTIME native = {};
    native.wYear = static_cast<WORD>(time.year);
    native.wMonth = static_cast<WORD>(time.month);
    native.wDayOfWeek = static_cast<WORD>(time.dayOfWeek);
    native.wDay = static_cast<WORD>(time.day);
    native.wHour = static_cast<WORD>(time.hour);
    native.wMinute = static_cast<WORD>(time.minute);
    native.wSecond = static_cast<WORD>(time.second);
    native.wMilliseconds = static_cast<WORD>(time.millisecond);
    return native;
}

bool isCalendarTime(const SPW_CalendarTime& time) {
    return SPW_CClock::fromUtc(time) != 0;
}

// Reads the root block of a file's version information. Answers false where there is none.
bool readFixedInfo(void* information, std::uint32_t& high, std::uint32_t& low) {
    void* block = nullptr;
    UINT size = 0;
    if (!VerQueryValueW(information, L"\\", &block, &size) || size < sizeof(VS_FIXEDFILEINFO)) {
        return false;
    }
    const VS_FIXEDFILEINFO& fixed = *static_cast<const VS_FIXEDFILEINFO*>(block);
    high = fixed.dwFileVersionMS;
    low = fixed.dwFileVersionLS;
    return true;
}

class SystemInfo : public SPW_CSystemInfo {
public:
    constexpr SystemInfo() = default;

    bool fileVersion(const SPW_CString& path, std::uint32_t& high, std::uint32_t& low) override {
        wchar_t* const file = const_cast<wchar_t*>(SPW_ToWide(path.text()));  // older systems' headers are not const
        DWORD unused = 0;
        const DWORD size = GetFileVersionInfoSizeW(file, &unused);
        void* const information = size == 0 ? nullptr : std::malloc(size);
        const bool isThere = information != nullptr && GetFileVersionInfoW(file, 0, size, information) &&
                             readFixedInfo(information, high, low);
        std::free(information);
        return isThere;
    }

    bool osVersion(SPW_OsVersion& version) override {
        OSVERSIONINFOW native = {};
        native.dwOSVersionInfoSize = sizeof native;
        if (!GetVersionExW(&native)) {
            return false;
        }
        version.platform = native.dwPlatformId;
        version.major = native.dwMajorVersion;
        version.minor = native.dwMinorVersion;
        version.build = native.dwBuildNumber;
        version.servicePack = SPW_FromWide(native.szCSDVersion);
        return true;
    }

    SPW_CString productType() override {
        SPW_CRegistry key(u"HKEY_LOCAL_MACHINE", u"SYSTEM\\CurrentControlSet\\Control\\ProductOptions",
                          SPW_CRegistry::kOnlyIfPresent);
        SPW_CRegistryData data;
        SPW_CString type;
        return key.getValue(u"ProductType", data) == 0 && data.toText(type) ? type : SPW_CString();
    }

    SPW_CString shortDate(const SPW_CalendarTime& time) override {
        const SYSTEMTIME native = toSystemTime(time);
        char16_t text[kLongestDateOrTime + 1];
        return isCalendarTime(time) && GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &native, nullptr,
                                                      SPW_ToWide(text), kLongestDateOrTime + 1) > 0
                   ? SPW_CString(text)
                   : SPW_CString();
    }

    SPW_CString shortTime(const SPW_CalendarTime& time) override {
        const SYSTEMTIME native = toSystemTime(time);
        char16_t text[kLongestDateOrTime + 1];
        return isCalendarTime(time) && GetTimeFormatW(LOCALE_USER_DEFAULT, TIME_NOSECONDS, &native, nullptr,
                                                      SPW_ToWide(text), kLongestDateOrTime + 1) > 0
                   ? SPW_CString(text)
                   : SPW_CString();
    }
};

SPW_CImmortal<SystemInfo> systemInfo;

}  // namespace

SPW_CSystemInfo* SPW_CSystemInfo::instance = &systemInfo.value;
