#pragma once

#include <cstdint>

#include "SPW_CObject.h"
#include "SPW_CString.h"

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
};
