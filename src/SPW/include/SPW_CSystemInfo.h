#pragma once

#include <cstdint>

#include "SPW_CObject.h"
#include "SPW_CString.h"

// What the platform says about itself and its program files. Reached through `instance`. Any thread.
class SPW_CSystemInfo : public SPW_CObject {
public:
    static SPW_CSystemInfo* instance;

    // Version of a program file: the two 32-bit words of its version information, each holding two
    // 16-bit numbers. False when the file has none.
    virtual bool fileVersion(const SPW_CString& path, std::uint32_t& high, std::uint32_t& low) = 0;
};
