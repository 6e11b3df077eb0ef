#pragma once

#include <cstdint>

#include "SPW_CArray.h"
#include "SPW_CString.h"
#include "SPW_Types.h"

// A self-describing byte message: values are pushed one after another and popped in reverse order.
class SPW_CMessage : public SPW_CObject {
public:
    void pushString(const SPW_CString& value);
    bool popString(SPW_CString& value);
};
