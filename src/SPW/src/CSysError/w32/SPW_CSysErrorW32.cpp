#include "SPW_CSysErrorW32.h"

#include <windows.h>

#include "SPW_CImmortal.h"
#include "SPW_CLastCodeW32.h"
#include "SPW_CSysErrorSys.h"

namespace {

SPW_CImmortal<SPW_CLastCodeW32> lastCode;

}  // namespace

void SPW_CSysErrorW32::setLast(SPW_Result code) {
    lastCode.value.set(code);
}

SPW_Result SPW_CSysErrorW32::fail() {
    const SPW_Result code = GetLastError();
    setLast(code);
    return code;
}

SPW_Result SPW_CSysErrorSys::last() {
    return lastCode.value.get();
}
