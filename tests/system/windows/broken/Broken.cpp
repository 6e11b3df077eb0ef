#include "CommandLine.h"
#include "SPW_CError.h"

// A program without its dialogs, for they are in none of its resources; and one that, if it is asked to, fails an
// assertion before it does anything else. The linker has this stand in for the program's own function.

void splitAsAlways(const SPW_CString& commandLine, SPW_CArray<SPW_CString>& tokens) asm("__real_" SPLIT_COMMAND_LINE);
void splitOrFail(const SPW_CString& commandLine, SPW_CArray<SPW_CString>& tokens) asm("__wrap_" SPLIT_COMMAND_LINE);

void splitOrFail(const SPW_CString& commandLine, SPW_CArray<SPW_CString>& tokens) {
    if (commandLine == u"-fail") {
        (void)SPW_CError::instance->assertionFailed("tests\\Broken", 1, "Broken", "splitOrFail", "all is well");
    }
    splitAsAlways(commandLine, tokens);
}
