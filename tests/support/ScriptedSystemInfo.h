#pragma once

#include "SPW_CSystemInfo.h"

// A system of the test's choice. Set the members before other threads ask.
class ScriptedSystemInfo : public SPW_CSystemInfo {
public:
    bool fileVersion(const SPW_CString&, std::uint32_t& high, std::uint32_t& low) override {
        if (!hasFileVersion) {
            return false;
        }
        high = fileVersionHigh;
        low = fileVersionLow;
        return true;
    }
    bool osVersion(SPW_OsVersion& version) override {
        if (!hasOsVersion) {
            return false;
        }
        version = os;
        return true;
    }
    SPW_CString productType() override { return product; }
    // Year-month-day and hour:minute: a test sees what was handed over.
    SPW_CString shortDate(const SPW_CalendarTime& time) override {
        SPW_CString text;
        text.format(u"%04d-%02d-%02d", time.year, time.month, time.day);
        return text;
    }
    SPW_CString shortTime(const SPW_CalendarTime& time) override {
        SPW_CString text;
        text.format(u"%02d:%02d", time.hour, time.minute);
        return text;
    }

    bool hasFileVersion = true;
    std::uint32_t fileVersionHigh = 0;
    std::uint32_t fileVersionLow = 0;
    bool hasOsVersion = true;
    SPW_OsVersion os;
    SPW_CString product;
};
