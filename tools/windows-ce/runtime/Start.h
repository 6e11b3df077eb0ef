#pragma once

// The order in which a program's namespace-scope objects are made and unmade.
namespace WindowsCeRuntime {

using Function = void (*)();

// A list of functions begins with a word of the linker's and ends with a null.
inline void runForward(const Function* list) {
    for (const Function* function = list + 1; *function != nullptr; ++function) {
        (*function)();
    }
}

inline void runBackward(const Function* list) {
    const Function* end = list + 1;
    while (*end != nullptr) {
        ++end;
    }
    while (--end != list) {
        (*end)();
    }
}

}  // namespace WindowsCeRuntime
