#pragma once

#include <cstdint>

#include "SPW_CClock.h"
#include "SPW_CObject.h"
#include "SPW_CString.h"

// Families of operating systems.
enum SPW_OsPlatform : std::uint32_t {
    kOsWin32s = 0,
    kOsWindows9x = 1,
    kOsWindowsNt = 2,
    kOsWindowsCe = 3,
    kOsLinux = 0x10000,  // none of the numbers that Windows gives
};

// The version of the operating system.
struct SPW_OsVersion {
    std::uint32_t platform = kOsWin32s;  // an SPW_OsPlatform, or a number that only the system knows
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;  // on Linux the kernel's patch level
    SPW_CString servicePack;  // may be empty; on Linux the distribution's own name
};

// What the platform says about itself and its program files. Reached through `instance`, so that a test can put its
// own in its place. Any thread.
class SPW_CSystemInfo : public SPW_CObject {
public:
    static SPW_CSystemInfo* instance;

    // Version of a program file: the two 32-bit words of its version information, each holding two 16-bit numbers
    // (1.2.3.4 is high 0x00010002, low 0x00030004). False, and the words untouched, when the file has none.
    // Where files carry no such information, the running program's own file alone has one: the version that it was
    // built with, by whatever path or link the file is named. Every other file has none there.
    [[nodiscard]] virtual bool fileVersion(const SPW_CString& path, std::uint32_t& high, std::uint32_t& low) = 0;

    // The version of the operating system that runs. False, and version untouched, when it cannot be had.
    [[nodiscard]] virtual bool osVersion(SPW_OsVersion& version) = 0;
    // What kind of Windows NT this is: "WINNT" (a workstation), "SERVERNT", "LANMANNT". Empty where it is not known
    // and on systems that have no such kinds.
    virtual SPW_CString productType() = 0;

    // The day and the time of day in the short form that the user's locale gives, the time without seconds; each at
    // most 100 characters. Empty when the time is none that a calendar shows.
    virtual SPW_CString shortDate(const SPW_CalendarTime& time) = 0;
    virtual SPW_CString shortTime(const SPW_CalendarTime& time) = 0;
};
