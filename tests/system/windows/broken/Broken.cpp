#include "CommandLine.h"
#include "SPW_CError.h"

// A program without its dialogs, for they are in none of its resources; and one that, if it is asked to, fails an
// assertion before it does anything else. The linker has these stand in for the program's own functions.

CommandLine scanAsAlways(const SPW_CArray<SPW_CString>& tokens) asm("__real_" SCAN_ARGUMENTS);
CommandLine scanOrFail(const SPW_CArray<SPW_CString>& tokens) asm("__wrap_" SCAN_ARGUMENTS);

CommandLine scanOrFail(const SPW_CArray<SPW_CString>& tokens) {
    if (tokens.numberOfElements() > 0 && tokens[0] == u"-fail") {
        (void)SPW_CError::instance->assertionFailed("tests\\Broken", 1, "Broken", "scanOrFail", "all is well");
    }
    return scanAsAlways(tokens);
}
